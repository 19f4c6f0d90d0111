#pragma once

#include <string>
#include <string_view>

namespace halvoren::Utf8 {

// True when every byte belongs to a well-formed UTF-8 sequence: no overlong forms, no
// surrogates, nothing above U+10FFFF, nothing truncated.
bool isValid(std::string_view bytes);

// The bytes with each ill-formed sequence replaced by U+FFFD (EF BF BD). A sequence is
// replaced by its maximal subpart: a lead byte and the continuation bytes that can still
// begin a well-formed sequence give one U+FFFD, and decoding resumes at the byte that
// broke it. Well-formed text, NUL included, passes through unchanged.
std::string repaired(std::string_view bytes);

} // namespace halvoren::Utf8
