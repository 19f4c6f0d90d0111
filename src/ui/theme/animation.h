#pragma once

#include <array>
#include <string_view>

namespace halvoren::theme {

// A spring with no blend: `response` is the period in seconds of the undamped spring,
// `dampingFraction` 1 means no overshoot.
struct Spring {
    std::string_view name;
    double response;
    double dampingFraction;
};

inline constexpr Spring snappy{"snappy", 0.3, 0.82};
inline constexpr Spring smooth{"smooth", 0.45, 1.0};
inline constexpr Spring bouncy{"bouncy", 0.4, 0.75};
inline constexpr Spring numericRoll{"numericRoll", 0.4, 1.0};
inline constexpr std::array<Spring, 4> springs{snappy, smooth, bouncy, numericRoll};

} // namespace halvoren::theme
