#include "core/temperature_format.h"

#include <cmath>
#include <cstdio>

namespace halvoren::TemperatureFormat {

double converted(double celsius, bool fahrenheit) {
    return fahrenheit ? celsius * 9.0 / 5.0 + 32.0 : celsius;
}

double rounded(double celsius, bool fahrenheit, bool precise) {
    const double t = converted(celsius, fahrenheit);
    return precise ? std::round(t * 10.0) / 10.0 : std::round(t);
}

std::string value(double celsius, bool fahrenheit, bool precise) {
    const double number = converted(celsius, fahrenheit);
    const char* format = precise ? "%.1f" : "%.0f";
    // "%.0f" writes every integer digit, so a huge reading needs more than any fixed buffer.
    const int n = std::snprintf(nullptr, 0, format, number);
    if (n <= 0) {
        return {};
    }
    std::string text(static_cast<std::size_t>(n), '\0');
    std::snprintf(text.data(), text.size() + 1, format, number);
    return text;
}

std::string display(double celsius, bool fahrenheit, bool precise) {
    return value(celsius, fahrenheit, precise) + (fahrenheit ? "°F" : "°C");
}

} // namespace halvoren::TemperatureFormat
