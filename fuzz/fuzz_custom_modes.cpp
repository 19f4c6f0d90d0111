// The stored list of custom modes. A list decodes whole or throws DecodeError; a decoded list
// encodes and decodes to itself, and every speed is a fraction of the fan's range.

#include "core/custom_mode.h"
#include "core/json_support.h"
#include "fuzz_check.h"

namespace {

using namespace halvoren;
using fuzz::check;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<CustomMode> modes;
    try {
        modes = decodeCustomModes(fuzz::text(data, size));
    } catch (const DecodeError&) {
        return 0;
    }
    for (const auto& mode : modes) {
        const double percentage = mode.speed.percentage();
        check(percentage >= 0.0 && percentage <= 1.0, "a decoded speed lies in 0...1");
    }
    check(decodeCustomModes(encodeCustomModes(modes)) == modes,
          "a decoded list encodes and decodes to itself");
    return 0;
}
