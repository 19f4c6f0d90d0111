#include "core/custom_mode.h"
#include "core/device_sensor_map.h"
#include "core/sensor_classifier.h"
#include "core/thermal_trend.h"
#include "core/weather_condition.h"
#include "ui/theme/backdrop.h"
#include "ui/theme/colors.h"
#include "ui/theme/symbols.h"
#include "ui/theme/thermal_color.h"
#include "ui/ui_test_support.h"

#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QPalette>
#include <cmath>
#include <set>

namespace halvoren::theme {
namespace {

using ThemeTest = UiTest;

TEST_F(ThemeTest, SystemAccentFollowsTheDesktopAndTheOthersAreFixed) {
    for (const QColor desktop : {QColor(10, 200, 90), QColor(200, 40, 120)}) {
        QPalette palette = QGuiApplication::palette();
        palette.setColor(QPalette::Highlight, desktop);
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
        palette.setColor(QPalette::Accent, desktop);
#endif
        QGuiApplication::setPalette(palette);
        EXPECT_EQ(accentColor(AccentChoice::system), desktop);
        EXPECT_NE(accentColor(AccentChoice::sky), desktop);
    }
}

TEST_F(ThemeTest, AForcedAppearanceWinsOverTheDesktopAndIncreasedContrastBordersInThePrimaryColour) {
    QPalette dark = QGuiApplication::palette();
    dark.setColor(QPalette::Window, QColor(30, 30, 30));
    dark.setColor(QPalette::WindowText, QColor(240, 240, 240));
    QGuiApplication::setPalette(dark);
#if QT_VERSION < QT_VERSION_CHECK(6, 5, 0)
    EXPECT_EQ(currentAppearance(), Appearance::dark);
#endif
    forceAppearance(Appearance::light);
    EXPECT_EQ(currentAppearance(), Appearance::light);
    forceAppearance(Appearance::dark);
    EXPECT_EQ(currentAppearance(), Appearance::dark);
    forceAppearance(std::nullopt);

    for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
        const QColor border = borderColor(appearance, true);
        EXPECT_NEAR(border.alphaF(), 0.35, 0.01);
        EXPECT_EQ(border.rgb(), primaryColor(appearance).rgb());
        EXPECT_LT(borderColor(appearance, false).alphaF(), 0.35);
    }
}

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

TEST(ThermalColorTest, ContrastFollowsTheStandardFormulaAndItsFloorDarkensOnlyWhatIsIllegible) {
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

    // Below the knee the curve is linear; white on black is the full 21:1.
    EXPECT_NEAR(relativeLuminance({0.03, 0.03, 0.03}), 0.03 / 12.92, 1e-9);
    EXPECT_NEAR(contrastRatio({1.0, 1.0, 1.0}, {0.0, 0.0, 0.0}), 21.0, 1e-9);
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

// Every symbol the engine hands the views: weather, trend, the modes on offer and the device
// sensor rows.
std::set<std::string> engineSymbols() {
    std::set<std::string> names;
    for (const WeatherCondition condition : allCases<WeatherCondition>()) {
        names.emplace(symbolName(condition));
    }
    for (const ThermalTrend& trend :
         {ThermalTrend::rising(3.0), ThermalTrend::steady(), ThermalTrend::cooling()}) {
        names.emplace(trend.sfSymbolName());
    }
    for (const std::string_view name : CustomMode::curatedSymbolNames) {
        names.emplace(name);
    }
    std::vector<SMCSensor> sensors;
    for (const char* key : {"TW0P", "TB0T", "TB1T", "TPSP", "TDeL", "TDeR", "TH0x", "Te05", "Tp01", "Tg05",
                            "Tg0D", "TPD0", "TPDX"}) {
        sensors.push_back({key, key, key, SensorClassifier::category(key, SensorClass::temperature), 50.0,
                           SensorClass::temperature, "°C"});
    }
    for (const auto& row : DeviceSensorMap::fixedList(sensors, {1, 1})) {
        names.insert(row.symbol);
    }
    for (const auto& row : DeviceSensorMap::fixedList(sensors, {})) {
        names.insert(row.symbol);
    }
    return names;
}

bool paintsAnything(std::string_view symbol) {
    QImage image(32, 32, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paintSymbol(painter, QRectF(4, 4, 24, 24), symbol, Qt::black);
    painter.end();
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 0) {
                return true;
            }
        }
    }
    return false;
}

// Every symbol the engine hands the views is a glyph the font has.
TEST_F(ThemeTest, TheTableIsSortedAndInTheFontAndHoldsEverySymbolTheEngineNames) {
    const QFontMetrics metrics(symbolFont(24));
    const auto table = symbolTable();
    for (std::size_t i = 0; i < table.size(); ++i) {
        EXPECT_TRUE(metrics.inFontUcs4(table[i].codePoint)) << table[i].symbol;
        if (i > 0) {
            EXPECT_LT(table[i - 1].symbol, table[i].symbol);
        }
    }
    const std::set<std::string> names = engineSymbols();
    EXPECT_GE(names.size(), 20U);
    for (const std::string& name : names) {
        const auto codePoint = symbolCodePoint(name);
        EXPECT_TRUE(isFanMarkSymbol(name) || (codePoint && metrics.inFontUcs4(*codePoint))) << name;
    }
}

TEST_F(ThemeTest, KnownNamesAndTheFanPaintUnknownNamesDoNot) {
    for (const std::string_view name : {"moon.fill", "gauge.with.needle", "arrow.down.right", "fan.fill"}) {
        EXPECT_TRUE(paintsAnything(name)) << name;
    }
    for (const std::string_view name : {"", "moon", "fan.fill.extra", "moon.fill "}) {
        EXPECT_FALSE(paintsAnything(name)) << name;
    }
}

TEST(SpeckleShapeTest, TheSameSeedDrawsTheSameSkyAtAnySize) {
    const SpeckleShape shape{200, 42, {0.5, 1.5}};
    const QRectF small(10, 20, 300, 200);
    const QRectF large(0, 0, 1200, 800);
    const auto first = shape.speckles(small);
    const auto again = shape.speckles(small);
    const auto scaled = shape.speckles(large);
    ASSERT_EQ(first.size(), 200U);
    ASSERT_EQ(scaled.size(), 200U);
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(first[i].center, again[i].center);
        EXPECT_TRUE(small.contains(first[i].center)) << i;
        EXPECT_TRUE(large.contains(scaled[i].center)) << i;
        EXPECT_GE(first[i].radius, 0.5);
        EXPECT_LE(first[i].radius, 1.5);
        // The same sky: each dot at the same share of the picture, with the same size.
        EXPECT_NEAR((first[i].center.x() - 10) / 300, scaled[i].center.x() / 1200, 1e-9);
        EXPECT_NEAR((first[i].center.y() - 20) / 200, scaled[i].center.y() / 800, 1e-9);
        EXPECT_EQ(first[i].radius, scaled[i].radius);
    }
    EXPECT_NE(SpeckleShape({200, 43, {0.5, 1.5}}).speckles(small)[0].center, first[0].center);
    EXPECT_TRUE(SpeckleShape({0, 42, {0.5, 1.5}}).path(small).isEmpty());
    EXPECT_TRUE(SpeckleShape({-3, 42, {0.5, 1.5}}).path(small).isEmpty());
}

TEST(BackdropOverrideTest, OnlyAValidRawValueOverrides) {
    struct Case {
        QStringList arguments;
        std::optional<BackdropScene> expected;
    };
    const Case cases[] = {
        {{"halvoren", "--backdrop=nebula"}, BackdropScene::nebula},
        {{"halvoren"}, std::nullopt},
        {{"halvoren", "--backdrop=marsh"}, std::nullopt},
        {{"halvoren", "--backdrop=Nebula"}, std::nullopt},
        {{"halvoren", "--backdrop", "nebula"}, std::nullopt},
        {{"halvoren", "--backdrop=space", "--backdrop=abyss"}, BackdropScene::abyss},
        {{"halvoren", "--backdrop=space", "--backdrop=marsh"}, BackdropScene::space},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(launchArgumentOverride(c.arguments), c.expected) << c.arguments.join(' ').toStdString();
    }
}

TEST_F(ThemeTest, TheCacheRendersAgainOnlyWhenSomethingDrawnChanges) {
    BackdropCache cache;
    const qint64 first = cache.pixmap({320, 200}, 1.0, BackdropScene::aurora, Appearance::dark).cacheKey();
    EXPECT_EQ(cache.pixmap({320, 200}, 1.0, BackdropScene::aurora, Appearance::dark).cacheKey(), first);
    struct Change {
        QSize size;
        double ratio;
        BackdropScene scene;
        Appearance appearance;
        double texture;
    };
    for (const Change c : {Change{{321, 200}, 1.0, BackdropScene::aurora, Appearance::dark, 1.0},
                           Change{{320, 200}, 2.0, BackdropScene::aurora, Appearance::dark, 1.0},
                           Change{{320, 200}, 1.0, BackdropScene::space, Appearance::dark, 1.0},
                           Change{{320, 200}, 1.0, BackdropScene::aurora, Appearance::light, 1.0},
                           Change{{320, 200}, 1.0, BackdropScene::aurora, Appearance::dark, 2.0}}) {
        const qint64 base = cache.pixmap({320, 200}, 1.0, BackdropScene::aurora, Appearance::dark).cacheKey();
        const QPixmap& changed = cache.pixmap(c.size, c.ratio, c.scene, c.appearance, c.texture);
        EXPECT_NE(changed.cacheKey(), base);
        EXPECT_EQ(changed.size(), c.size * c.ratio);
    }
    EXPECT_TRUE(cache.pixmap({0, 0}, 1.0, BackdropScene::aurora, Appearance::dark).isNull());
}

// Drawn twice the picture is the same; the texture scale changes the speckles and nothing else.
TEST_F(ThemeTest, ScenesRedrawIdenticallyAndTextureScalesOnlyTheSpeckles) {
    const auto render = [](const BackdropStyle& style, double texture) {
        QImage image(200, 120, QImage::Format_ARGB32_Premultiplied);
        QPainter painter(&image);
        paintBackdrop(painter, QRectF(0, 0, 200, 120), style, Appearance::dark, texture);
        return image;
    };
    for (const BackdropScene scene : allCases<BackdropScene>()) {
        EXPECT_EQ(render(backdropStyle(scene), 1.0), render(backdropStyle(scene), 1.0)) << rawValue(scene);
    }
    BackdropStyle plain = backdropStyle(BackdropScene::space);
    std::erase_if(plain.layers,
                  [](const BackdropLayer& layer) { return std::holds_alternative<BackdropSpeckles>(layer); });
    EXPECT_EQ(render(plain, 1.0), render(plain, 3.0));
    EXPECT_NE(render(backdropStyle(BackdropScene::space), 1.0),
              render(backdropStyle(BackdropScene::space), 3.0));
}

} // namespace
} // namespace halvoren::theme
