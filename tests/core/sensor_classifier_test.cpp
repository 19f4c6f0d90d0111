#include "core/code_points.h"
#include "core/sensor_classifier.h"

#include <gtest/gtest.h>
#include <limits>

namespace halvoren {
namespace {

using SensorClassifier::Classification;
using SensorClassifier::classify;
using SensorClassifier::humanName;
using Kind = SMCDataType::Kind;

TEST(SensorClassifier, TemperatureNeedsAFloatingTypeAndAPlausibleSample) {
    EXPECT_EQ(classify("TC0P", Kind::sp78, 45.0), (Classification{SensorClass::temperature, "CPU P"}));
    EXPECT_EQ(classify("TC0P", Kind::sp78, 131.0), (Classification{SensorClass::other, "CPU P"}));
    EXPECT_EQ(classify("TC0P", Kind::sp78, -41.0), (Classification{SensorClass::other, "CPU P"}));
    EXPECT_EQ(classify("TC0P", Kind::sp78, std::nullopt).sensorClass, SensorClass::other);
    EXPECT_EQ(classify("TC0P", Kind::ui8, 45.0).sensorClass, SensorClass::other);
    EXPECT_EQ(classify("TC0P", Kind::fpe2, 45.0).sensorClass, SensorClass::other);
    EXPECT_EQ(classify("TC0P", Kind::sp78, std::numeric_limits<double>::quiet_NaN()).sensorClass,
              SensorClass::other);
    EXPECT_EQ(classify("TC0P", Kind::flt, 130.0).sensorClass, SensorClass::temperature);
    EXPECT_EQ(classify("TC0P", Kind::flt, -40.0).sensorClass, SensorClass::temperature);
    EXPECT_EQ(classify("TZ0P", Kind::flt, 40.0), (Classification{SensorClass::temperature, "TZ0P"}));
}

TEST(SensorClassifier, OtherLettersGoByTypeOrKeyShapeAndKeepTheKeyAsName) {
    EXPECT_EQ(classify("PSTR", Kind::flt, 12.0), (Classification{SensorClass::power, "PSTR"}));
    EXPECT_EQ(classify("PSTR", Kind::sp78, 12.0), (Classification{SensorClass::other, "PSTR"}));
    EXPECT_EQ(classify("VD0R", Kind::flt, 12.1).sensorClass, SensorClass::voltage);
    EXPECT_EQ(classify("VD0R", Kind::fpe2, 12.1).sensorClass, SensorClass::other);
    EXPECT_EQ(classify("ID0R", Kind::flt, 3.0).sensorClass, SensorClass::current);
    EXPECT_EQ(classify("ID0R", Kind::ui8, 3.0).sensorClass, SensorClass::other);
    // Fans go by the key alone, whatever the type or the sample.
    EXPECT_EQ(classify("F0Ac", Kind::ui8, 0.0), (Classification{SensorClass::fan, "F0Ac"}));
    EXPECT_EQ(classify("F1Ac", Kind::fpe2, std::nullopt).sensorClass, SensorClass::fan);
    EXPECT_EQ(classify("FNum", Kind::ui8, 2.0), (Classification{SensorClass::other, "FNum"}));
    EXPECT_EQ(classify("F0AC", Kind::flt, 2000.0).sensorClass, SensorClass::other);
    EXPECT_EQ(classify("pSTR", Kind::flt, 1.0).sensorClass, SensorClass::other);
    EXPECT_EQ(classify("#KEY", Kind::ui32, 1000.0), (Classification{SensorClass::other, "#KEY"}));
    EXPECT_EQ(classify("", Kind::flt, 40.0), (Classification{SensorClass::other, ""}));
}

TEST(SensorClassifier, HumanNamesTryTheThreeLetterPrefixFirst) {
    EXPECT_EQ(humanName("Tp09"), "P-Core 9");
    EXPECT_EQ(humanName("TC0P"), "CPU P");
    EXPECT_EQ(humanName("Tg0f"), "GPU f");
    EXPECT_EQ(humanName("TB1T"), "Battery 1T");
    EXPECT_EQ(humanName("Ts00"), "Enclosure");
    EXPECT_EQ(humanName("Tne0"), "Neural Engine");
    EXPECT_EQ(humanName("TneX1"), "Neural Engine X1");
    EXPECT_EQ(humanName("Tf04"), "SoC Fabric 4");
    EXPECT_EQ(humanName("TZ0P"), "TZ0P");
    // A prefix must be shorter than the key: "Tne" and "Tp" name nothing on their own.
    EXPECT_EQ(humanName("Tne"), "Tne");
    EXPECT_EQ(humanName("Tp"), "Tp");
    EXPECT_EQ(humanName("Tp0"), "P-Core");
    // Non-ASCII characters count as one each and pass through whole.
    EXPECT_EQ(humanName("Tp\u00e9"), "P-Core \u00e9");
    EXPECT_EQ(humanName("Te0\u20ac"), "E-Core \u20ac");
    EXPECT_EQ(humanName("T\u20ac"), "T\u20ac");
}

TEST(SensorClassifier, TrimLeadingZerosMayLeaveNothing) {
    EXPECT_EQ(SensorClassifier::trimLeadingZeros("00"), "");
    EXPECT_EQ(SensorClassifier::trimLeadingZeros("0"), "");
    EXPECT_EQ(SensorClassifier::trimLeadingZeros(""), "");
    EXPECT_EQ(SensorClassifier::trimLeadingZeros("0P"), "P");
    EXPECT_EQ(SensorClassifier::trimLeadingZeros("10"), "10");
    EXPECT_EQ(SensorClassifier::trimLeadingZeros("0070"), "70");
}

TEST(SensorClassifier, CategoryByTheFirstTwoCharactersOfATemperature) {
    using SensorClassifier::category;
    constexpr auto temperature = SensorClass::temperature;
    EXPECT_EQ(category("Tp01", temperature), SensorCategory::cpu);
    EXPECT_EQ(category("Te05", temperature), SensorCategory::cpu);
    EXPECT_EQ(category("TC0P", temperature), SensorCategory::cpu);
    EXPECT_EQ(category("Tg0f", temperature), SensorCategory::gpu);
    EXPECT_EQ(category("TG0D", temperature), SensorCategory::gpu);
    EXPECT_EQ(category("TM0P", temperature), SensorCategory::memory);
    EXPECT_EQ(category("Tb0T", temperature), SensorCategory::battery);
    EXPECT_EQ(category("Tn0P", temperature), SensorCategory::neuralEngine);
    EXPECT_EQ(category("Tf04", temperature), SensorCategory::neuralEngine);
    EXPECT_EQ(category("Ta0P", temperature), SensorCategory::enclosure);
    EXPECT_EQ(category("tp01", temperature), SensorCategory::enclosure);
    EXPECT_EQ(category("T", temperature), SensorCategory::enclosure);
    EXPECT_EQ(category("Tp01", SensorClass::other), SensorCategory::enclosure);
    EXPECT_EQ(category("TG0D", SensorClass::power), SensorCategory::enclosure);
}

TEST(CodePoints, CountAndCutByCharacterNotByte) {
    EXPECT_EQ(codePointCount("Tex\u00e9"), 4U);
    EXPECT_EQ(codePointCount("\U0001F525x"), 2U);
    EXPECT_EQ(codePointCount(""), 0U);
    EXPECT_EQ(codePointPrefix("\u00e9ab", 1), "\u00e9");
    EXPECT_EQ(codePointPrefix("T\u20acx", 2), "T\u20ac");
    EXPECT_EQ(codePointPrefix("Tp", 3), "Tp");
    EXPECT_EQ(codePointPrefix("Tp", 0), "");
    EXPECT_EQ(dropCodePoints("\u00e9\u00e9ab", 2), "ab");
    EXPECT_EQ(dropCodePoints("ab", 5), "");
}

} // namespace
} // namespace halvoren
