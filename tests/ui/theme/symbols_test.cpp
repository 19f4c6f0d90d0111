#include "core/custom_mode.h"
#include "core/device_sensor_map.h"
#include "core/sensor_classifier.h"
#include "core/thermal_trend.h"
#include "core/weather_condition.h"
#include "ui/theme/symbols.h"
#include "ui/ui_test_support.h"

#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <set>

namespace halvoren::theme {
namespace {

using SymbolsTest = UiTest;

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

TEST_F(SymbolsTest, EverySymbolTheEngineNamesIsAGlyphTheFontHas) {
    const QFontMetrics metrics(symbolFont(24));
    const std::set<std::string> names = engineSymbols();
    EXPECT_GE(names.size(), 20U);
    for (const std::string& name : names) {
        if (isFanMarkSymbol(name)) {
            continue;
        }
        const auto codePoint = symbolCodePoint(name);
        ASSERT_TRUE(codePoint) << name;
        EXPECT_TRUE(metrics.inFontUcs4(*codePoint)) << name;
    }
}

TEST_F(SymbolsTest, TheTableIsSortedAndEveryEntryIsInTheFont) {
    const QFontMetrics metrics(symbolFont(24));
    const auto table = symbolTable();
    for (std::size_t i = 0; i < table.size(); ++i) {
        EXPECT_TRUE(metrics.inFontUcs4(table[i].codePoint)) << table[i].symbol;
        if (i > 0) {
            EXPECT_LT(table[i - 1].symbol, table[i].symbol);
        }
    }
}

TEST_F(SymbolsTest, KnownNamesAndTheFanPaintUnknownNamesDoNot) {
    for (const std::string_view name : {"moon.fill", "gauge.with.needle", "arrow.down.right", "fan.fill"}) {
        EXPECT_TRUE(paintsAnything(name)) << name;
    }
    for (const std::string_view name : {"", "moon", "fan.fill.extra", "moon.fill "}) {
        EXPECT_FALSE(paintsAnything(name)) << name;
    }
}

} // namespace
} // namespace halvoren::theme
