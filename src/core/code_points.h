#pragma once

#include <cstddef>
#include <string_view>

namespace halvoren {

// Controller keys are UTF-8 and, once repaired, may hold non-ASCII characters, so key
// lengths and prefixes count code points rather than bytes. Input is assumed to be
// well-formed UTF-8: every byte that isn't a continuation byte starts a code point.

constexpr bool isUtf8ContinuationByte(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

constexpr std::size_t codePointCount(std::string_view text) {
    std::size_t count = 0;
    for (const char byte : text) {
        count += isUtf8ContinuationByte(byte) ? 0 : 1;
    }
    return count;
}

// The first `n` code points of `text`, or all of it when it holds fewer.
constexpr std::string_view codePointPrefix(std::string_view text, std::size_t n) {
    std::size_t seen = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!isUtf8ContinuationByte(text[i]) && seen++ == n) {
            return text.substr(0, i);
        }
    }
    return text;
}

// `text` without its first `n` code points.
constexpr std::string_view dropCodePoints(std::string_view text, std::size_t n) {
    return text.substr(codePointPrefix(text, n).size());
}

} // namespace halvoren
