#include "smc/fan_control_protocol.h"

#include "core/fan_key.h"
#include "smc/smc_error.h"

#include <cmath>
#include <cstdint>

namespace halvoren {
namespace {

std::uint32_t bitOf(int fan) {
    return std::uint32_t{1} << static_cast<unsigned>(fan);
}

std::uint32_t forceBits(SMCKernelBridge& bridge) {
    const double value = bridge.read(FanControlKeys::forceBits);
    return value > 0.0 && std::isfinite(value) ? static_cast<std::uint32_t>(value) : 0;
}

} // namespace

std::string FanControlProtocol::modeKey(int fan) const {
    std::string key = FanKey::mode(fan);
    if (lowerCaseMode) {
        key[2] = 'm';
    }
    return key;
}

std::string FanControlProtocol::description() const {
    std::string mode = lowerCaseMode ? "F<n>md" : "F<n>Md";
    switch (kind) {
    case FanControl::none:
        break;
    case FanControl::forceBits:
        return "FS! bits";
    case FanControl::modeKey:
        return mode;
    case FanControl::unlockModeKey:
        return "Ftst, then " + mode;
    }
    return "no fan-control keys";
}

bool FanControlKeys::isForcedMode(double mode) {
    return mode != automaticMode && mode != systemMode;
}

FanControlProtocol fanControlProtocol(const std::function<bool(std::string_view)>& hasKey) {
    for (const bool lowerCase : {false, true}) {
        const FanControlProtocol candidate{FanControl::modeKey, lowerCase};
        if (hasKey(candidate.modeKey(0))) {
            return {hasKey(FanKey::forceTest) ? FanControl::unlockModeKey : FanControl::modeKey, lowerCase};
        }
    }
    return {hasKey(FanControlKeys::forceBits) ? FanControl::forceBits : FanControl::none, false};
}

FanControlProtocol fanControlProtocol(SMCKernelBridge& bridge) {
    return fanControlProtocol([&bridge](std::string_view key) {
        try {
            bridge.keyInfo(key);
            return true;
        } catch (const SMCError& error) {
            if (error.kind() == SMCError::Kind::keyNotFound) {
                return false;
            }
            throw; // a failing controller says nothing about its keys
        }
    });
}

double readFanMode(SMCKernelBridge& bridge, const FanControlProtocol& protocol, int fan) {
    switch (protocol.kind) {
    case FanControl::none:
        return FanControlKeys::automaticMode;
    case FanControl::forceBits:
        return (forceBits(bridge) & bitOf(fan)) != 0 ? FanControlKeys::forcedMode
                                                     : FanControlKeys::automaticMode;
    case FanControl::modeKey:
    case FanControl::unlockModeKey:
        break;
    }
    return bridge.read(protocol.modeKey(fan));
}

void writeFanForced(SMCKernelBridge& bridge, const FanControlProtocol& protocol, int fan, bool forced) {
    switch (protocol.kind) {
    case FanControl::none:
        return;
    case FanControl::forceBits: {
        // Read, change one bit, write: the other fans' bits are someone's decision too.
        const std::uint32_t bits = forceBits(bridge);
        const std::uint32_t wanted = forced ? bits | bitOf(fan) : bits & ~bitOf(fan);
        if (wanted != bits) {
            bridge.write(FanControlKeys::forceBits, static_cast<double>(wanted));
        }
        return;
    }
    case FanControl::modeKey:
    case FanControl::unlockModeKey:
        break;
    }
    bridge.write(protocol.modeKey(fan), forced ? FanControlKeys::forcedMode : FanControlKeys::automaticMode);
}

bool handBackFan(SMCKernelBridge& bridge, const FanControlProtocol& protocol, int fan) {
    // A fan the system's thermal control holds may refuse any write: look before writing.
    bool forced = true;
    try {
        forced = FanControlKeys::isForcedMode(readFanMode(bridge, protocol, fan));
    } catch (const SMCError&) {
        // Unknown: write anyway, and let the read-back below decide.
    }
    if (forced) {
        writeFanForced(bridge, protocol, fan, false);
    }
    return !FanControlKeys::isForcedMode(readFanMode(bridge, protocol, fan));
}

std::vector<std::string> handBackEveryFan(SMCKernelBridge& bridge, const FanControlProtocol& protocol,
                                          int fanCount) {
    std::vector<std::string> failures;
    for (int fan = 0; fan < fanCount; ++fan) {
        const std::string prefix = "cannot hand fan " + std::to_string(fan) + " back to the firmware: ";
        try {
            if (!handBackFan(bridge, protocol, fan)) {
                failures.push_back(prefix + "it still reads as forced");
            }
        } catch (const SMCError& error) {
            failures.push_back(prefix + error.what());
        }
    }
    if (protocol.kind == FanControl::unlockModeKey) {
        // Last, once no fan is forced: the system's thermal control takes the fans again.
        try {
            bridge.write(FanKey::forceTest, 0.0);
            if (bridge.read(FanKey::forceTest) != 0.0) {
                failures.emplace_back("cannot clear Ftst: it still reads as set");
            }
        } catch (const SMCError& error) {
            failures.push_back("cannot clear Ftst: " + std::string(error.what()));
        }
    }
    return failures;
}

} // namespace halvoren
