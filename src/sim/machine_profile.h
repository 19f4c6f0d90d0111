#pragma once

#include "core/device_sensor_map.h"
#include "core/smc_data_type.h"
#include "sim/thermal_model.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace halvoren {

// Why a machine profile could not be used; the message names the file and the member at fault.
class ProfileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Where a key's value comes from. A key without a source keeps its initial bytes.
namespace KeySource {

struct Constant {};
// ambient + gain × (node − ambient) + offset, plus noise of at most ±noise.
struct Sensor {
    std::size_t node = 0;
    double offset = 0.0;
    double gain = 1.0;
    double noise = 0.0;
};
// base + cpu × cpu load + gpu × gpu load, plus noise of at most ±noise.
struct LoadLinear {
    double base = 0.0;
    double cpu = 0.0;
    double gpu = 0.0;
    double noise = 0.0;
};
enum class FanField { actual, minimum, maximum, target, mode };
struct Fan {
    std::size_t fan = 0;
    FanField field = FanField::actual;
};
struct KeyCount {}; // the number of keys the controller lists
struct FanCount {}; // the number of fans
struct FanTest {};  // a writable fan-control switch that holds what is written

using Any = std::variant<Constant, Sensor, LoadLinear, Fan, KeyCount, FanCount, FanTest>;

} // namespace KeySource

struct ProfileKey {
    std::string name;                       // four bytes, e.g. "TC0P"
    std::uint32_t code = 0;                 // the name as a code
    std::uint32_t typeCode = 0;             // e.g. "flt " as a code
    std::uint32_t size = 0;                 // bytes of the value, 1...32
    std::vector<std::uint8_t> initialBytes; // `size` bytes; used by Constant and FanTest keys
    KeySource::Any source;

    SMCDataType type() const { return SMCDataType::fromRawType(typeCode); }
    // Only fan control takes writes: a fan's target and mode, and the fan test switch.
    bool writable() const;
};

// A real model's controller, as far as the simulator needs it: its keys in index order and the
// thermal model behind them. Loaded from JSON (see data/machines/README.md).
struct MachineProfile {
    using CoreCounts = DeviceSensorMap::CoreCounts;

    std::string name;
    std::string description;
    CoreCounts coreCounts;
    ThermalSpec thermal;
    std::vector<ProfileKey> keys;

    const ProfileKey* key(std::string_view name) const;

    // The profiles built into the program, from data/machines.
    static std::optional<MachineProfile> builtIn(std::string_view name);
    static std::vector<std::string> builtInNames();
    // A built-in profile by name, else the profile file at that path. Throws ProfileError, for an
    // unknown name with the list of built-in names.
    static MachineProfile named(const std::string& nameOrPath);

    // Both throw ProfileError; a corrupt or inconsistent file is never used in part.
    static MachineProfile load(const std::filesystem::path& path);
    static MachineProfile parse(std::string_view text);
};

} // namespace halvoren
