#pragma once

#include <string>
#include <string_view>

// Controller key names of the fans: "F", the fan's digit, then a two-letter suffix. A fan
// index outside 0...9 is a programming error and aborts.
namespace halvoren::FanKey {

std::string current(int i); // measured speed in RPM, "F0Ac"
std::string minimum(int i); // hardware minimum speed, "F0Mn"
std::string maximum(int i); // hardware maximum speed, "F0Mx"
std::string target(int i);  // commanded speed, "F0Tg"
std::string mode(int i);    // the fan's mode key, "F0Md"

inline constexpr std::string_view fanCount = "FNum";
// Declared for completeness only: fan writes belong to the fan-control helper.
inline constexpr std::string_view forceTest = "Ftst";

} // namespace halvoren::FanKey
