#pragma once

#include <string>

namespace halvoren::TemperatureFormat {

// In the user's unit.
double converted(double celsius, bool fahrenheit);
// In the user's unit, rounded to a tenth when precise, else to a whole degree, halves away
// from zero: the number as the main readout holds it.
double rounded(double celsius, bool fahrenheit, bool precise);
// The number alone: converted to Fahrenheit if asked, "%.1f" when precise, else "%.0f".
std::string value(double celsius, bool fahrenheit, bool precise);
// The number followed by "°C" or "°F".
std::string display(double celsius, bool fahrenheit, bool precise);

} // namespace halvoren::TemperatureFormat
