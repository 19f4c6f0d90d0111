#include "smc/sensor_discovery.h"

#include "core/four_cc.h"
#include "core/sensor_classifier.h"
#include "core/smc_codec_error.h"
#include "core/smc_data_codec.h"
#include "smc/smc_error.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace halvoren {
namespace {

// Room reserved up front; a controller may list more keys, and all are walked.
constexpr std::int64_t reservationLimit = 512;

struct Sample {
    double value;
    SMCDataType type;
};

// The current value of a key, through the bridge's cached key information and one read
// exchange; nothing when any step fails.
std::optional<Sample> sample(SMCKernelBridge& bridge, const std::string& key) {
    try {
        const SMCKeyInfoData info = bridge.keyInfo(key);
        SMCParamStruct input;
        input.key = FourCC::code(key);
        input.data8 = static_cast<std::uint8_t>(SMCCommand::readValue);
        input.keyInfo.dataSize = info.dataSize;
        const SMCParamStruct output = bridge.call(input);
        if (output.result != SMCResult::success) {
            return std::nullopt;
        }
        const SMCDataType type = SMCDataType::fromRawType(info.dataType);
        return Sample{SMCDataCodec::decode(output.valueBytes(info.dataSize), type), type};
    } catch (const SMCError&) {
        return std::nullopt;
    } catch (const SMCCodecError&) {
        return std::nullopt;
    }
}

// The key at an index, when the exchange succeeds and its text is a usable key.
std::optional<std::string> keyAt(SMCKernelBridge& bridge, std::uint32_t index) {
    SMCParamStruct input;
    input.data8 = static_cast<std::uint8_t>(SMCCommand::keyByIndex);
    input.data32 = index;
    try {
        const SMCParamStruct output = bridge.call(input);
        if (output.result != SMCResult::success) {
            return std::nullopt;
        }
        // Bytes that are not UTF-8 come back repaired to other than four bytes, and such
        // text must never reach FourCC::code.
        std::string key = FourCC::string(output.key);
        if (!FourCC::isKey(key)) {
            return std::nullopt;
        }
        return key;
    } catch (const SMCError&) {
        return std::nullopt;
    }
}

} // namespace

SensorDiscovery::SensorDiscovery(std::shared_ptr<SMCKernelBridge> bridge)
    : bridge(std::move(bridge)) {}

std::vector<SMCSensor> SensorDiscovery::discoverAll() const {
    std::int64_t count = 0;
    try {
        count = bridge->keyCount();
    } catch (const SMCError&) {
        return {};
    }
    std::vector<SMCSensor> sensors;
    if (count < 1) {
        return sensors;
    }
    sensors.reserve(static_cast<std::size_t>(std::min(count, reservationLimit)));
    // The by-index command carries a 32-bit index; a count past that cannot be walked.
    const std::int64_t last =
        std::min<std::int64_t>(count, std::int64_t{std::numeric_limits<std::uint32_t>::max()} + 1);
    for (std::int64_t index = 0; index < last; ++index) {
        const auto key = keyAt(*bridge, static_cast<std::uint32_t>(index));
        if (!key) {
            continue;
        }
        const auto value = sample(*bridge, *key);
        if (!value) {
            continue;
        }
        auto [sensorClass, name] = SensorClassifier::classify(*key, value->type, value->value);
        if (sensorClass == SensorClass::other) {
            continue;
        }
        SMCSensor sensor;
        sensor.id = *key;
        sensor.key = *key;
        sensor.name = std::move(name);
        sensor.category = SensorClassifier::category(*key, sensorClass);
        sensor.currentTemp = value->value;
        sensor.sensorClass = sensorClass;
        sensor.unit = std::string(unit(sensorClass));
        sensors.push_back(std::move(sensor));
    }
    return sensors;
}

std::vector<SMCSensor> SensorDiscovery::discover() const {
    std::vector<SMCSensor> sensors = discoverAll();
    std::erase_if(sensors, [](const SMCSensor& s) { return s.sensorClass != SensorClass::temperature; });
    return sensors;
}

std::vector<SMCSensor> SensorDiscovery::refresh(const std::vector<SMCSensor>& sensors) const {
    std::vector<SMCSensor> refreshed = sensors;
    for (SMCSensor& sensor : refreshed) {
        // Sensors from elsewhere may carry names that are no controller key.
        if (!FourCC::isKey(sensor.key)) {
            continue;
        }
        const auto value = sample(*bridge, sensor.key);
        if (!value) {
            continue;
        }
        // One garbage temperature must not reach the control loop.
        if (sensor.sensorClass == SensorClass::temperature &&
            !SensorClassifier::plausibleTemperatureRange.contains(value->value)) {
            continue;
        }
        sensor.currentTemp = value->value;
    }
    return refreshed;
}

} // namespace halvoren
