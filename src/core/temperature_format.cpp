#include "core/temperature_format.h"

#include <cstdio>

namespace halvoren::TemperatureFormat {

std::string value(double celsius, bool fahrenheit, bool precise) {
    const double number = fahrenheit ? celsius * 9.0 / 5.0 + 32.0 : celsius;
    char buffer[64];
    const int n = std::snprintf(buffer, sizeof buffer, precise ? "%.1f" : "%.0f", number);
    return std::string(buffer, n > 0 ? static_cast<std::size_t>(n) : 0);
}

std::string display(double celsius, bool fahrenheit, bool precise) {
    return value(celsius, fahrenheit, precise) + (fahrenheit ? "°F" : "°C");
}

} // namespace halvoren::TemperatureFormat
