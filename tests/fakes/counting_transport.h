#pragma once

#include "core/smc_data_type.h"
#include "smc/smc_kernel_bridge.h"
#include "smc/smc_param_struct.h"
#include "smc/smc_transport.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace halvoren {

// A programmable controller in memory that counts its exchanges, for tests of everything
// above the transport seam. Keys are listed in the by-index table in the order they are
// first set. "#KEY" answers the size of that table as ui32 unless setKeyCount says
// otherwise, and is never in the table itself. Unknown keys and indices past the table
// answer result 132. Every member may be used from any thread.
class CountingTransport final : public SMCTransport {
public:
    // Adds or replaces a key holding `value` encoded as `type`, its dataSize that encoding's.
    void setValue(std::string_view key, SMCDataType type, double value);
    // Adds or replaces a key with any type code, declared size and bytes.
    void setRaw(std::uint32_t code, std::uint32_t dataType, std::uint32_t dataSize,
                std::vector<std::uint8_t> bytes);
    void setRaw(std::string_view key, std::uint32_t dataType, std::uint32_t dataSize,
                std::vector<std::uint8_t> bytes);
    // An explicit "#KEY" (ui32), for a count that disagrees with the table.
    void setKeyCount(std::uint32_t count);

    // `command` on `key` answers with this result byte and has no effect; 0 restores
    // normal answers.
    void setResult(std::string_view key, SMCCommand command, std::uint8_t result);
    void setIndexResult(std::uint32_t index, std::uint8_t result);
    // `command` on `key` throws SMCError::callFailed(code).
    void failCall(std::string_view key, SMCCommand command, std::int32_t code);
    void failIndex(std::uint32_t index, std::int32_t code);
    // Every exchange throws SMCError::callFailed(code) until clearFailures.
    void failEveryCall(std::int32_t code);
    // Drops every result override and failure.
    void clearFailures();

    // Exchanges made, failed ones included.
    int calls(SMCCommand command) const;
    int totalCalls() const;
    void resetCounts();
    // The latest input of a command, if there was one.
    std::optional<SMCParamStruct> lastInput(SMCCommand command) const;
    // The value bytes a key holds now (after writes, too); empty for an unknown key.
    std::vector<std::uint8_t> bytes(std::string_view key) const;

    SMCParamStruct call(const SMCParamStruct& input) override;

private:
    struct Entry {
        SMCKeyInfoData info;
        std::vector<std::uint8_t> bytes;
    };
    // Either a result byte to answer with or a code to throw.
    struct Outcome {
        std::uint8_t result = 0;
        std::optional<std::int32_t> thrown;
    };
    using Subject = std::pair<std::uint8_t, std::uint32_t>; // command, key code or index

    void setOutcome(Subject subject, std::uint8_t result);
    void store(std::uint32_t code, Entry entry);
    std::optional<Entry> entry(std::uint32_t code) const;

    mutable std::mutex lock;
    std::map<std::uint32_t, Entry> keys;
    std::vector<std::uint32_t> table;
    std::optional<std::uint32_t> keyCount;
    std::map<Subject, Outcome> overrides;
    std::optional<std::int32_t> everyCallFailure;
    std::map<std::uint8_t, int> counts;
    std::map<std::uint8_t, SMCParamStruct> lastInputs;
};

// A shared bridge over a fresh fake. The bridge owns the fake, which lives as long as it.
struct FakeBridge {
    CountingTransport* fake;
    std::shared_ptr<SMCKernelBridge> bridge;
};
FakeBridge makeFakeBridge();

} // namespace halvoren
