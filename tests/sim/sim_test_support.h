#pragma once

#include "core/four_cc.h"
#include "core/smc_data_codec.h"
#include "platform/clock.h"
#include "sim/simulated_mac.h"
#include "smc/smc_param_struct.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace halvoren::test {

// Talks to a simulated Mac through the exchange alone, as the bridge does.
struct Exchange {
    SimulatedMac& mac;

    SMCParamStruct send(SMCCommand command, const std::string& key, std::uint32_t size = 0,
                        std::uint32_t index = 0) {
        SMCParamStruct in;
        in.key = key.empty() ? 0 : FourCC::code(key);
        in.keyInfo.dataSize = size;
        in.data8 = static_cast<std::uint8_t>(command);
        in.data32 = index;
        return mac.exchange(in);
    }
    SMCParamStruct info(const std::string& key) { return send(SMCCommand::keyInformation, key); }
    SMCParamStruct readRaw(const std::string& key, std::uint32_t size) {
        return send(SMCCommand::readValue, key, size);
    }
    SMCParamStruct atIndex(std::uint32_t index) { return send(SMCCommand::keyByIndex, "", 0, index); }
    // The decoded value; the key must exist and have a type the codec converts.
    double read(const std::string& key) {
        const auto keyInfo = info(key).keyInfo;
        const auto out = readRaw(key, keyInfo.dataSize);
        return SMCDataCodec::decode(out.valueBytes(keyInfo.dataSize),
                                    SMCDataType::fromRawType(keyInfo.dataType));
    }
    std::uint8_t writeBytes(const std::string& key, const std::vector<std::uint8_t>& bytes,
                            std::uint32_t type = 0) {
        SMCParamStruct in;
        in.key = FourCC::code(key);
        in.keyInfo.dataSize = static_cast<std::uint32_t>(bytes.size());
        in.keyInfo.dataType = type;
        in.data8 = static_cast<std::uint8_t>(SMCCommand::writeValue);
        in.setValueBytes(bytes);
        return mac.exchange(in).result;
    }
    // Encodes in the key's own type, as the bridge does.
    std::uint8_t write(const std::string& key, double value) {
        const auto keyInfo = info(key).keyInfo;
        const auto type = SMCDataType::fromRawType(keyInfo.dataType);
        return writeBytes(key, SMCDataCodec::encode(value, type), keyInfo.dataType);
    }
};

inline MachineProfile builtIn(const std::string& name) {
    auto profile = MachineProfile::builtIn(name);
    if (!profile) {
        throw std::runtime_error("no built-in profile " + name);
    }
    return *profile;
}

// The profile as a controller of another generation lists it: mode keys spelt "F<n>md" (M5),
// and a "Ftst" switch beside them (M2 to M4).
inline MachineProfile asGeneration(MachineProfile profile, bool lowerCaseMode, bool unlockSwitch) {
    for (auto& key : profile.keys) {
        const auto* fan = std::get_if<KeySource::Fan>(&key.source);
        if (lowerCaseMode && fan && fan->field == KeySource::FanField::mode) {
            key.name[2] = 'm';
            key.code = FourCC::code(key.name);
        }
    }
    if (unlockSwitch && !profile.key("Ftst")) {
        profile.keys.push_back(
            {"Ftst", FourCC::code("Ftst"), SMCDataType::ui8Code, 1, {0}, KeySource::FanTest{}});
    }
    return profile;
}

// Which fans are forced, in order.
inline std::vector<bool> forcedFans(SimulatedMac& mac) {
    std::vector<bool> forced;
    for (const auto& fan : mac.fans()) {
        forced.push_back(fan.forced);
    }
    return forced;
}

// Advances the clock in sub-minute strides, reading the machine after each so that its
// lazy catch-up is exercised the way a poller would.
inline void run(ManualClock& clock, SimulatedMac& mac, double seconds, double stride = 10.0) {
    for (double done = 0.0; done < seconds; done += stride) {
        clock.advance(std::min(stride, seconds - done));
        mac.fans();
    }
}

} // namespace halvoren::test
