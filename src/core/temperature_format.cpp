#include "core/temperature_format.h"

#include "core/double_text.h"

#include <cmath>

namespace halvoren::TemperatureFormat {

double converted(double celsius, bool fahrenheit) {
    return fahrenheit ? celsius * 9.0 / 5.0 + 32.0 : celsius;
}

double rounded(double celsius, bool fahrenheit, bool precise) {
    const double t = converted(celsius, fahrenheit);
    return precise ? std::round(t * 10.0) / 10.0 : std::round(t);
}

std::string value(double celsius, bool fahrenheit, bool precise) {
    return fixedText(converted(celsius, fahrenheit), precise ? 1 : 0);
}

std::string display(double celsius, bool fahrenheit, bool precise) {
    return value(celsius, fahrenheit, precise) + (fahrenheit ? "°F" : "°C");
}

} // namespace halvoren::TemperatureFormat
