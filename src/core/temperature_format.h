#pragma once

#include <string>

namespace halvoren::TemperatureFormat {

// The number alone: converted to Fahrenheit if asked, "%.1f" when precise, else "%.0f".
std::string value(double celsius, bool fahrenheit, bool precise);
// The number followed by "°C" or "°F".
std::string display(double celsius, bool fahrenheit, bool precise);

} // namespace halvoren::TemperatureFormat
