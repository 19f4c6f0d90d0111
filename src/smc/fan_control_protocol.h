#pragma once

#include "smc/smc_kernel_bridge.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace halvoren {

// How a controller lets software take a fan from the firmware. Each Mac generation has its
// own way, told apart by the keys its controller lists.
enum class FanControl {
    none,          // no key to force a fan with
    forceBits,     // Intel before the T2: bit n of "FS! " (ui16) forces fan n
    modeKey,       // T2 Intel, M1, M5: the fan's mode key = 1 forces it at once
    unlockModeKey, // M2 to M4: the system's thermal control holds the fans (mode 3) until
                   // "Ftst" = 1 makes it let go; only then does the mode key take 1
};

struct FanControlProtocol {
    FanControl kind = FanControl::none;
    bool lowerCaseMode = false; // M5 spells the mode key "F0md"

    // The fan's mode key in this controller's spelling: "F0Md" or "F0md".
    std::string modeKey(int fan) const;
    // For logs: "FS! bits", "F<n>Md", "Ftst, then F<n>Md", "F<n>md" or "no fan-control keys".
    std::string description() const;

    friend bool operator==(const FanControlProtocol&, const FanControlProtocol&) = default;
};

namespace FanControlKeys {
inline constexpr std::string_view forceBits = "FS! ";
inline constexpr double automaticMode = 0.0;
inline constexpr double forcedMode = 1.0;
inline constexpr double systemMode = 3.0; // held by the system's thermal control

// A mode value that means software drives the fan: neither the firmware (0) nor the system's
// thermal control (3).
bool isForcedMode(double mode);
} // namespace FanControlKeys

// The protocol of a controller with these keys, judged by fan 0's: a mode key (either
// spelling) wins over "FS! ", and "Ftst" beside a mode key means the unlock is needed.
FanControlProtocol fanControlProtocol(const std::function<bool(std::string_view)>& hasKey);
// Throws SMCError when the controller fails otherwise than with "no such key".
FanControlProtocol fanControlProtocol(SMCKernelBridge& bridge);

// The steps of each protocol over a bridge. Each throws SMCError; none verifies by itself.

// The fan's mode as its key reads (0, 1 or 3), or for "FS! " 1 when its bit is set, else 0.
// A protocol without a key reads 0.
double readFanMode(SMCKernelBridge& bridge, const FanControlProtocol& protocol, int fan);
// Writes the mode key, or sets or clears the fan's bit of "FS! " leaving the other bits as
// they are. Nothing for a protocol without a key.
void writeFanForced(SMCKernelBridge& bridge, const FanControlProtocol& protocol, int fan, bool forced);
// Gives one fan back unless it already reads as not forced. True when it reads back as handed
// back; false when the controller kept it forced.
bool handBackFan(SMCKernelBridge& bridge, const FanControlProtocol& protocol, int fan);

// Hands fans 0...fanCount-1 back, then clears "Ftst" where the protocol has it, trying every
// step even when one before failed. Returns what failed, one text per step; empty when every
// fan reads back as handed back.
std::vector<std::string> handBackEveryFan(SMCKernelBridge& bridge, const FanControlProtocol& protocol,
                                          int fanCount);

} // namespace halvoren
