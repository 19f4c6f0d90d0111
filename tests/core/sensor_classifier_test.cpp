#include "core/sensor_classifier.h"

#include <gtest/gtest.h>
#include <limits>

namespace halvoren {
namespace {

using SensorClassifier::Classification;
using Kind = SMCDataType::Kind;
constexpr auto temperature = SensorClass::temperature;
constexpr auto other = SensorClass::other;

TEST(SensorClassifier, ClassGoesByLetterTypeAndForTemperaturesAPlausibleSample) {
    const struct {
        const char* key;
        Kind type;
        std::optional<double> sample;
        Classification expected;
    } rows[] = {
        {"TC0P", Kind::sp78, 45.0, {temperature, "CPU P"}},
        {"TC0P", Kind::sp78, 131.0, {other, "CPU P"}},
        {"TC0P", Kind::sp78, -41.0, {other, "CPU P"}},
        {"TC0P", Kind::sp78, std::nullopt, {other, "CPU P"}},
        {"TC0P", Kind::ui8, 45.0, {other, "CPU P"}},
        {"TC0P", Kind::fpe2, 45.0, {other, "CPU P"}},
        {"TC0P", Kind::sp78, std::numeric_limits<double>::quiet_NaN(), {other, "CPU P"}},
        {"TC0P", Kind::flt, 130.0, {temperature, "CPU P"}},
        {"TC0P", Kind::flt, -40.0, {temperature, "CPU P"}},
        {"TZ0P", Kind::flt, 40.0, {temperature, "TZ0P"}},
        {"PSTR", Kind::flt, 12.0, {SensorClass::power, "PSTR"}},
        {"PSTR", Kind::sp78, 12.0, {other, "PSTR"}},
        {"VD0R", Kind::flt, 12.1, {SensorClass::voltage, "VD0R"}},
        {"VD0R", Kind::fpe2, 12.1, {other, "VD0R"}},
        {"ID0R", Kind::flt, 3.0, {SensorClass::current, "ID0R"}},
        {"ID0R", Kind::ui8, 3.0, {other, "ID0R"}},
        // Fans go by the key alone, whatever the type or the sample.
        {"F0Ac", Kind::ui8, 0.0, {SensorClass::fan, "F0Ac"}},
        {"F1Ac", Kind::fpe2, std::nullopt, {SensorClass::fan, "F1Ac"}},
        {"FNum", Kind::ui8, 2.0, {other, "FNum"}},
        {"F0AC", Kind::flt, 2000.0, {other, "F0AC"}},
        {"pSTR", Kind::flt, 1.0, {other, "pSTR"}},
        {"#KEY", Kind::ui32, 1000.0, {other, "#KEY"}},
        {"", Kind::flt, 40.0, {other, ""}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(SensorClassifier::classify(row.key, row.type, row.sample), row.expected) << row.key;
    }
}

TEST(SensorClassifier, HumanNamesTryTheThreeLetterPrefixFirstAndCountCharacters) {
    const std::pair<const char*, const char*> names[] = {
        {"Tp09", "P-Core 9"},
        {"TC0P", "CPU P"},
        {"Tg0f", "GPU f"},
        {"TB1T", "Battery 1T"},
        {"Ts00", "Enclosure"},
        {"Tne0", "Neural Engine"},
        {"TneX1", "Neural Engine X1"},
        {"Tf04", "SoC Fabric 4"},
        {"TZ0P", "TZ0P"},
        {"Tne", "Tne"}, // a prefix must be shorter than the key
        {"Tp", "Tp"},
        {"Tp0", "P-Core"},
        {"Tp\u00e9", "P-Core \u00e9"},
        {"Te0\u20ac", "E-Core \u20ac"},
        {"T\u20ac", "T\u20ac"}};
    for (const auto& [key, name] : names) {
        EXPECT_EQ(SensorClassifier::humanName(key), name) << key;
    }
}

TEST(SensorClassifier, CategoryByTheFirstTwoCharactersOfATemperature) {
    using C = SensorCategory;
    const struct {
        const char* key;
        SensorClass sensorClass;
        SensorCategory expected;
    } rows[] = {
        {"Tp01", temperature, C::cpu},          {"Te05", temperature, C::cpu},
        {"TC0P", temperature, C::cpu},          {"Tg0f", temperature, C::gpu},
        {"TG0D", temperature, C::gpu},          {"TM0P", temperature, C::memory},
        {"Tb0T", temperature, C::battery},      {"Tn0P", temperature, C::neuralEngine},
        {"Tf04", temperature, C::neuralEngine}, {"Ta0P", temperature, C::enclosure},
        {"tp01", temperature, C::enclosure},    {"T", temperature, C::enclosure},
        {"Tp01", other, C::enclosure},          {"TG0D", SensorClass::power, C::enclosure},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(SensorClassifier::category(row.key, row.sensorClass), row.expected) << row.key;
    }
}

} // namespace
} // namespace halvoren
