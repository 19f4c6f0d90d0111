#pragma once

// What the fuzz targets share: a check that stops the run with a message whatever the build type,
// and the input as text. An exception that no caller expects is left to escape: it terminates the
// run, which libFuzzer reports as a crash with the exception's type and message.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace halvoren::fuzz {

// A property that failed is a finding: libFuzzer saves the input that led here.
inline void check(bool holds, const char* property) {
    if (!holds) {
        std::fprintf(stderr, "fuzz property violated: %s\n", property);
        std::abort();
    }
}

inline std::string_view text(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

} // namespace halvoren::fuzz
