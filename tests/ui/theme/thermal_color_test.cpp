#include "ui/theme/thermal_color.h"

#include <cmath>
#include <gtest/gtest.h>

namespace halvoren::theme {
namespace {

Rgb rgbOf(const QColor& color) {
    return {color.redF(), color.greenF(), color.blueF()};
}

// The scale has joins at 50, 72 and 85: a step there would make a graph's colour flicker as a
// reading wanders across it.
TEST(ThermalColorTest, TheScaleIsContinuousAtEachJoin) {
    struct Join {
        double celsius;
        double hue;
        double saturation;
    };
    for (const Join join : {Join{50.0, 0.548, 0.608}, Join{72.0, 0.101, 0.961}, Join{85.0, 0.009, 0.773}}) {
        for (const double side : {-1e-6, 0.0, 1e-6}) {
            const QColor color = thermalColor(join.celsius + side);
            EXPECT_NEAR(color.hsvHueF(), join.hue, 1e-3) << join.celsius << side;
            EXPECT_NEAR(color.hsvSaturationF(), join.saturation, 1e-3) << join.celsius << side;
            EXPECT_NEAR(color.valueF(), 1.0, 1e-6);
        }
    }
    // The flat ends really are flat, and a reading that is not a number is cool, not a crash.
    EXPECT_EQ(thermalColor(-20.0), thermalColor(50.0));
    EXPECT_EQ(thermalColor(130.0), thermalColor(85.0));
    EXPECT_EQ(thermalColor(std::nan("")), thermalColor(20.0));
}

TEST(ThermalColorTest, ContrastFloorDarkensOnlyWhatIsIllegible) {
    const Rgb card = lightCardRgb;
    // Already legible: untouched.
    const QColor ink = QColor::fromRgbF(0.1F, 0.1F, 0.3F);
    EXPECT_EQ(contrastFloored(ink, card, 4.5), ink);

    // Pale amber reaches the minimum, and not by darkening more than needed.
    const QColor amber = QColor::fromHsvF(0.101F, 0.961F, 1.0F);
    ASSERT_LT(contrastRatio(rgbOf(amber), card), 4.5);
    const QColor floored = contrastFloored(amber, card, 4.5);
    EXPECT_GE(contrastRatio(rgbOf(floored), card), 4.5);
    const QColor oneStepLighter = QColor::fromHsvF(floored.hsvHueF(), floored.hsvSaturationF(),
                                                   std::min(floored.valueF() / 0.975F, 1.0F));
    EXPECT_LT(contrastRatio(rgbOf(oneStepLighter), card), 4.5);
    EXPECT_NEAR(floored.hsvHueF(), amber.hsvHueF(), 0.01);

    // An unreachable minimum spends exactly 40 steps and returns the last colour.
    const QColor white = QColor::fromHsvF(0.5F, 0.2F, 1.0F);
    EXPECT_NEAR(contrastFloored(white, card, 30.0).valueF(), std::pow(0.975, 40), 0.01);
}

TEST(ThermalColorTest, TextColoursAreLegibleOnTheLightCardAndShareTheirHalfDegree) {
    for (int half = 60; half <= 200; ++half) {
        const double c = half * 0.5;
        EXPECT_GE(contrastRatio(rgbOf(thermalTextColor(c)), lightCardRgb), textContrastMinimum) << c;
    }
    // Cached by the half degree: 70.1 and 69.9 round to the key of 70.
    EXPECT_EQ(thermalTextColor(70.1), thermalTextColor(69.9));
    EXPECT_NE(thermalTextColor(60.0), thermalTextColor(80.0));
    EXPECT_EQ(heatTextColor(64.0), thermalTextColor(64.0));
    // On the dark appearance text takes the bright scale.
    EXPECT_EQ(thermalTextColor(64.0, true), thermalColor(64.0));
}

TEST(ThermalColorTest, LuminanceFollowsTheStandardFormula) {
    EXPECT_NEAR(relativeLuminance({1.0, 1.0, 1.0}), 1.0, 1e-9);
    EXPECT_NEAR(relativeLuminance({0.0, 0.0, 0.0}), 0.0, 1e-12);
    // Below the knee the curve is linear.
    EXPECT_NEAR(relativeLuminance({0.03, 0.03, 0.03}), 0.03 / 12.92, 1e-9);
    EXPECT_NEAR(contrastRatio({1.0, 1.0, 1.0}, {0.0, 0.0, 0.0}), 21.0, 1e-9);
}

} // namespace
} // namespace halvoren::theme
