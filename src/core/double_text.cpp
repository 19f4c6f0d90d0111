#include "core/double_text.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <system_error>

namespace halvoren {

std::string doubleText(double value) {
    if (std::isnan(value)) {
        return "nan";
    }
    if (std::isinf(value)) {
        return value < 0 ? "-inf" : "inf";
    }
    const double magnitude = std::fabs(value);
    constexpr double positionalLimit = 9007199254740992.0; // 2^53, itself still positional
    const bool positional = magnitude == 0.0 || (magnitude >= 1e-4 && magnitude <= positionalLimit);

    std::array<char, 64> buffer{};
    const auto format = positional ? std::chars_format::fixed : std::chars_format::scientific;
    const auto [end, ec] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, format);
    if (ec != std::errc{}) {
        return "nan"; // cannot happen with a 64-byte buffer
    }
    std::string text(buffer.data(), end);

    if (positional) {
        if (text.find('.') == std::string::npos) {
            text += ".0";
        }
        return text;
    }
    // to_chars writes "1e+19" and "1.5e-7"; the exponent shows at least two digits.
    const auto e = text.find('e');
    if (e != std::string::npos && text.size() - e == 3) {
        return text.substr(0, e + 2) + '0' + text.back();
    }
    return text;
}

std::string doubleDebugText(double value) {
    if (!std::isnan(value)) {
        return doubleText(value);
    }
    const auto bits = std::bit_cast<std::uint64_t>(value);
    constexpr std::uint64_t quietBit = std::uint64_t{1} << 51;
    const std::uint64_t payload = bits & (quietBit - 1);
    std::string text = (bits >> 63) != 0 ? "-" : "";
    text += (bits & quietBit) != 0 ? "nan" : "snan";
    if (payload != 0) {
        std::array<char, 16> hex{};
        const auto written = std::to_chars(hex.data(), hex.data() + hex.size(), payload, 16);
        text += "(0x" + std::string(hex.data(), written.ptr) + ")";
    }
    return text;
}

std::string fixedText(double value, int decimals) {
    // Formatted as printf's "%.*f" does; the loop formats a few of these every pass.
    std::array<char, 64> buffer{};
    if (const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                                std::chars_format::fixed, decimals);
        error == std::errc{}) {
        return std::string(buffer.data(), end);
    }
    // "%.0f" writes every integer digit, so a huge value needs more than any fixed buffer.
    const int n = std::snprintf(nullptr, 0, "%.*f", decimals, value);
    if (n <= 0) {
        return {};
    }
    std::string text(static_cast<std::size_t>(n), '\0');
    std::snprintf(text.data(), text.size() + 1, "%.*f", decimals, value);
    return text;
}

} // namespace halvoren
