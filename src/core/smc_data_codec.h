#pragma once

#include "core/smc_data_type.h"

#include <cstdint>
#include <span>
#include <vector>

// Conversion between raw controller value bytes and numbers. `flt` is little-endian;
// the fixed-point and multi-byte integer types are big-endian. Failures throw
// SMCCodecError.
namespace halvoren::SMCDataCodec {

// Only a minimum length is checked: bytes past the type's width are ignored, since
// callers may hand in a whole value buffer. `other` fails before its length is looked at.
double decode(std::span<const std::uint8_t> bytes, SMCDataType type);

// A non-finite value fails first, whatever the type. Fixed-point types test their range
// before rounding, integer types after rounding (halves away from zero); a failed test
// carries the value as given.
std::vector<std::uint8_t> encode(double value, SMCDataType type);

} // namespace halvoren::SMCDataCodec
