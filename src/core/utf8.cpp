#include "core/utf8.h"

#include <cstddef>
#include <cstdint>

namespace halvoren::Utf8 {
namespace {

struct Sequence {
    std::size_t length; // the whole sequence when well formed, else its maximal subpart (>= 1)
    bool wellFormed;
};

// Reads the sequence at the front of `bytes`, which must not be empty, following the
// table of well-formed byte sequences: the second byte's range depends on the lead
// byte (E0, ED, F0 and F4 narrow it to rule out overlongs, surrogates and values above
// U+10FFFF); later continuation bytes are always 80..BF.
Sequence nextSequence(std::string_view bytes) {
    const auto lead = static_cast<std::uint8_t>(bytes[0]);
    if (lead < 0x80) {
        return {1, true};
    }
    std::size_t needed = 0;
    std::uint8_t low = 0x80;
    std::uint8_t high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        needed = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        needed = 3;
        low = lead == 0xE0 ? 0xA0 : low;
        high = lead == 0xED ? 0x9F : high;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        needed = 4;
        low = lead == 0xF0 ? 0x90 : low;
        high = lead == 0xF4 ? 0x8F : high;
    } else {
        return {1, false}; // a continuation byte, C0, C1 or F5..FF cannot start a sequence
    }
    for (std::size_t n = 1; n < needed; ++n) {
        if (n >= bytes.size()) {
            return {n, false};
        }
        const auto byte = static_cast<std::uint8_t>(bytes[n]);
        if (byte < low || byte > high) {
            return {n, false};
        }
        low = 0x80;
        high = 0xBF;
    }
    return {needed, true};
}

} // namespace

bool isValid(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto sequence = nextSequence(bytes);
        if (!sequence.wellFormed) {
            return false;
        }
        bytes.remove_prefix(sequence.length);
    }
    return true;
}

std::string repaired(std::string_view bytes) {
    static constexpr std::string_view replacement = "\xEF\xBF\xBD";
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const auto sequence = nextSequence(bytes);
        if (sequence.wellFormed) {
            text.append(bytes.substr(0, sequence.length));
        } else {
            text.append(replacement);
        }
        bytes.remove_prefix(sequence.length);
    }
    return text;
}

} // namespace halvoren::Utf8
