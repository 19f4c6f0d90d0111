#pragma once

#include <string>

namespace halvoren {

// The default textual form of a Double, as messages show it: the shortest digits that
// read back to the same value, always with a fraction in positional form ("-1.0",
// "2000.0", "0.25"), and in exponent form outside 1e-4 <= |x| < 2^53 ("1e+19",
// "1.5e-07"). Non-finite values read "nan", "inf" and "-inf".
std::string doubleText(double value);

} // namespace halvoren
