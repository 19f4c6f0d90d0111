#include "core/four_cc.h"

#include "core/utf8.h"

#include <cstdio>
#include <cstdlib>

namespace halvoren::FourCC {

bool isKey(std::string_view key) {
    return key.size() == 4 && Utf8::isValid(key);
}

std::uint32_t code(std::string_view key) {
    if (!isKey(key)) {
        std::fprintf(stderr, "fatal: a controller key must be exactly four bytes of UTF-8\n");
        std::abort();
    }
    std::uint32_t result = 0;
    for (const char c : key) {
        result = (result << 8) | static_cast<std::uint8_t>(c);
    }
    return result;
}

std::string string(std::uint32_t code) {
    const char bytes[4] = {static_cast<char>(code >> 24), static_cast<char>(code >> 16),
                           static_cast<char>(code >> 8), static_cast<char>(code)};
    return Utf8::repaired(std::string_view(bytes, 4));
}

} // namespace halvoren::FourCC
