#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Four-character codes: controller keys and type codes as the 32-bit integers used on the
// wire, first character in the most significant byte ("#KEY" is 0x234B4559).
namespace halvoren::FourCC {

// True when `key` is exactly four bytes of well-formed UTF-8, the only text `code` takes.
// Callers holding text from the hardware test it here before calling `code`.
bool isKey(std::string_view key);

// The code of a key. A key that fails `isKey` is a programming error and aborts: bytes that
// are not UTF-8 count as such, since the text they stand for could not round-trip.
std::uint32_t code(std::string_view key);

// The four bytes, most significant first, decoded as UTF-8 with repair (see Utf8::repaired),
// so the result may be other than four bytes long. A NUL byte stays in the text.
std::string string(std::uint32_t code);

} // namespace halvoren::FourCC
