#pragma once

#include "core/smc_data_type.h"
#include "smc/linux/hwmon_directory.h"
#include "smc/smc_transport.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <unordered_map>
#include <vector>

namespace halvoren {

// The controller of a Mac running Linux, read through the applesmc driver's hwmon
// attributes: unprivileged and read-only. The exchange's commands are answered from a key
// list built once at construction:
//   "#KEY" ui32, "FNum" ui8, per fan F<i>Ac F<i>Mn F<i>Mx F<i>Tg (fpe2) and F<i>Md (ui8),
//   then every temperature under the controller key the driver gives as its label (sp78).
// Reads go to the attribute files every time, through descriptors kept open. An unknown key or index answers
// result 132, an attribute that cannot be read or converted 133, every write 134, and a command the
// controller does not know 130.
class AppleSMCTransport final : public SMCTransport {
public:
    static constexpr const char* defaultRoot = "/sys/class/hwmon";
    static constexpr std::uint8_t badCommand = 130;

    // Throws SMCError::serviceNotFound when no hwmon device under `root` is named "applesmc".
    explicit AppleSMCTransport(const std::filesystem::path& root = defaultRoot);

    SMCParamStruct call(const SMCParamStruct& input) override;

    // The synthetic key list, in index order.
    std::vector<std::string> keys() const;

private:
    struct Entry {
        std::uint32_t code;
        SMCDataType type;
        Hwmon::Attribute file; // no path for the two counts
        double divisor = 1.0;  // attribute units per value unit
        double constant = 0.0; // the value of a count
    };

    void add(const std::string& key, SMCDataType type, std::filesystem::path file, double divisor = 1.0);
    SMCParamStruct read(Entry& entry);

    std::vector<Entry> entries_;
    std::unordered_map<std::uint32_t, std::size_t> byCode_;
};

} // namespace halvoren
