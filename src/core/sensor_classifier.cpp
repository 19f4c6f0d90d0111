#include "core/sensor_classifier.h"

#include "core/code_points.h"

namespace halvoren::SensorClassifier {

namespace {

bool isFloatingTemperatureType(SMCDataType type) {
    return type.kind() == SMCDataType::Kind::sp78 || type.kind() == SMCDataType::Kind::flt;
}

// Power, voltage and current are trusted by type alone: integer and fixed-point keys
// under those letters are mostly limits and flags, whatever their values look like.
SensorClass floatOnly(SMCDataType type, SensorClass sensorClass) {
    return type.kind() == SMCDataType::Kind::flt ? sensorClass : SensorClass::other;
}

} // namespace

Classification classify(std::string_view key, SMCDataType type, std::optional<double> sample) {
    if (key.empty()) {
        return {SensorClass::other, std::string(key)};
    }
    // The letters compared below are ASCII, so the first and last bytes stand for the
    // first and last characters: a UTF-8 lead or continuation byte never equals them.
    switch (key.front()) {
    case 'T': {
        const bool plausible =
            isFloatingTemperatureType(type) && sample && plausibleTemperatureRange.contains(*sample);
        return {plausible ? SensorClass::temperature : SensorClass::other, humanName(key)};
    }
    case 'P':
        return {floatOnly(type, SensorClass::power), std::string(key)};
    case 'V':
        return {floatOnly(type, SensorClass::voltage), std::string(key)};
    case 'I':
        return {floatOnly(type, SensorClass::current), std::string(key)};
    case 'F':
        // Admits the F<n>Ac speeds and leaves out F<n>Mn, F<n>Tg and the like.
        return {key.back() == 'c' ? SensorClass::fan : SensorClass::other, std::string(key)};
    default:
        return {SensorClass::other, std::string(key)};
    }
}

std::string humanName(std::string_view key) {
    const std::size_t length = codePointCount(key);
    for (const std::size_t n : {std::size_t{3}, std::size_t{2}}) {
        if (n >= length) {
            continue;
        }
        const std::string_view prefix = codePointPrefix(key, n);
        for (const PrefixName& row : temperaturePrefixNames) {
            if (row.prefix != prefix) {
                continue;
            }
            const std::string_view rest = trimLeadingZeros(key.substr(prefix.size()));
            std::string name(row.name);
            if (!rest.empty()) {
                name += ' ';
                name += rest;
            }
            return name;
        }
    }
    return std::string(key);
}

std::string_view trimLeadingZeros(std::string_view text) {
    const std::size_t first = text.find_first_not_of('0');
    return first == std::string_view::npos ? std::string_view{} : text.substr(first);
}

SensorCategory category(std::string_view key, SensorClass sensorClass) {
    if (sensorClass != SensorClass::temperature) {
        return SensorCategory::enclosure;
    }
    const std::string_view two = codePointPrefix(key, 2);
    if (two == "Tp" || two == "Te" || two == "TC") {
        return SensorCategory::cpu;
    }
    if (two == "Tg" || two == "TG") {
        return SensorCategory::gpu;
    }
    if (two == "Tm" || two == "TM") {
        return SensorCategory::memory;
    }
    if (two == "TB" || two == "Tb") {
        return SensorCategory::battery;
    }
    // Fabric sensors are named "SoC Fabric" yet grouped with the neural engine, on purpose.
    if (two == "Tn" || two == "Tf") {
        return SensorCategory::neuralEngine;
    }
    return SensorCategory::enclosure;
}

} // namespace halvoren::SensorClassifier
