// The almanac's file. A document decodes whole or not at all; a decoded almanac encodes and
// decodes to itself, keeps at most fourteen days, and holds only hours 0...23.

#include "core/thermal_almanac.h"
#include "fuzz_check.h"

namespace {

using namespace halvoren;
using fuzz::check;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::optional<ThermalAlmanac> almanac = decodeThermalAlmanac(fuzz::text(data, size));
    if (!almanac) {
        return 0;
    }
    for (const auto& day : almanac->days) {
        for (const auto& [hour, peak] : day.hourPeaks) {
            check(hour >= 0 && hour <= 23, "a decoded hour lies in 0...23");
        }
    }
    const std::optional<std::string> encoded = encodeThermalAlmanac(*almanac);
    check(encoded.has_value(), "a decoded almanac encodes");
    check(decodeThermalAlmanac(*encoded) == almanac, "a decoded almanac encodes and decodes to itself");
    return 0;
}
