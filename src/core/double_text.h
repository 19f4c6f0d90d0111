#pragma once

#include <string>

namespace halvoren {

// The default textual form of a Double, as messages show it: the shortest digits that
// read back to the same value, always with a fraction in positional form ("-1.0",
// "2000.0", "9007199254740992.0"), and in exponent form below 1e-4 or above 2^53 in
// magnitude ("1e+19", "1.5e-07", "9.007199254740994e+15"). Non-finite values read "nan",
// "inf" and "-inf"; every NaN reads "nan".
std::string doubleText(double value);

// The same, as the payload of an error case shows it: a NaN keeps its sign, its kind and
// its payload ("-nan", "snan", "nan(0x20000000)"), so two different NaNs read differently.
std::string doubleDebugText(double value);

// A Double as the C format "%.<decimals>f" writes it: rounded to nearest, exact halves to
// even, every integer digit, "-0" for a small negative, "nan" and "inf" for non-finite values.
std::string fixedText(double value, int decimals);

} // namespace halvoren
