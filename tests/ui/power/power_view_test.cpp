#include "ui/components/notice_view.h"
#include "ui/panel/panel_buttons.h"
#include "ui/power/power_values.h"
#include "ui/power/power_view.h"
#include "ui/ui_engine_fixture.h"

#include <QFile>
#include <QFileInfo>

namespace halvoren::power {
namespace {

TEST(PowerValuesTest, FanDrawRuntimeCostAndSystemWatts) {
    const PowerTelemetry ac{.source = PowerSource::ac, .batteryWattHours = 50.0};
    const PowerTelemetry battery{.source = PowerSource::battery, .batteryWattHours = 50.0};
    const Fans atMax{{0, fan(0, 6000.0, 0.0)}};
    struct Case {
        PowerTelemetry telemetry;
        double systemWatts;
        Fans fans;
        const char* draw;
        const char* title;
        const char* value;
    };
    for (const Case& c : std::vector<Case>{
             {ac, 20.0, {}, "0 mW", "On AC", "—"},
             {PowerTelemetry{}, 20.0, atMax, "2500 mW", "On AC", "—"},
             // 2.5 W over a floor of 5 W from 50 Wh: 60 * (50/5 - 50/7.5) minutes.
             {battery, 0.0, atMax, "2500 mW", "Runtime Cost", "-200 min"},
             {battery, 10.0, atMax, "2500 mW", "Runtime Cost", "-60 min"},
             // Fans at their minimum cost nothing, nor does an unknown capacity.
             {battery, 10.0, {{0, fan(0, 4800.0, 4800.0)}}, "1280 mW", "Runtime Cost", "-0 min"},
             {PowerTelemetry{.source = PowerSource::battery}, 10.0, atMax, "2500 mW", "Runtime Cost",
              "-0 min"},
             // A fan spinning below its minimum does not earn a credit.
             {battery, 10.0, {{0, fan(0, 0.0, 3000.0)}}, "0 mW", "Runtime Cost", "-0 min"},
         }) {
        EXPECT_EQ(fanDrawRow(c.fans).value, QString::fromUtf8(c.draw));
        const Row row = batteryRow(c.telemetry, c.systemWatts, c.fans);
        EXPECT_EQ(row.title, QString::fromUtf8(c.title));
        EXPECT_EQ(row.value, QString::fromUtf8(c.value)) << c.systemWatts;
        EXPECT_EQ(row.symbol,
                  c.telemetry.onBattery() ? "minus.plus.batteryblock.fill" : "bolt.horizontal.fill");
    }
    // The system's draw shows only when positive.
    EXPECT_EQ(systemWattsText(0.0), "—");
    EXPECT_EQ(systemWattsText(12.34), "12.3 W");
}

class PowerViewTest : public UiEngineTest {
protected:
    PowerViewTest() {
        view.setPathChooser([this](QWidget*, const QString& suggested) {
            suggestions.push_back(suggested);
            return destination;
        });
    }

    PowerView view{*engine};
    QString destination;
    QStringList suggestions;
};

TEST_F(PowerViewTest, FiguresFollowTheFansAndExportReplacesTheChosenFileAndFlashes) {
    EXPECT_EQ(view.fanDrawRow().row().value, "0 mW");
    EXPECT_EQ(view.systemWattsText(), "—");
    sweep(55.0, {fan(0, 6000.0)});
    EXPECT_EQ(view.fanDrawRow().row().value, "2500 mW");
    EXPECT_EQ(view.batteryRow().row().title, "On AC");

    destination = dir.filePath(QStringLiteral("power.csv"));
    QFile old(destination);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("stale");
    old.close();

    view.exportButton().click();
    ASSERT_EQ(suggestions.size(), 1);
    EXPECT_TRUE(suggestions.front().endsWith(QStringLiteral(".csv")));
    EXPECT_FALSE(suggestions.front().contains(QLatin1Char('/')));
    ASSERT_TRUE(old.open(QIODevice::ReadOnly));
    const QByteArray written = old.readAll();
    EXPECT_FALSE(written.isEmpty());
    EXPECT_NE(written, "stale");
    EXPECT_TRUE(view.justExported());

    // A second export during the flash extends it past the first one's end.
    pumpFor(300);
    view.exportCSV();
    pumpFor(400);
    EXPECT_TRUE(view.justExported());
    EXPECT_TRUE(pumpUntil([&] { return !view.justExported(); }));
    EXPECT_TRUE(view.exportError().isHidden());
}

TEST_F(PowerViewTest, CancelDoesNothingAndAFailedCopySaysWhy) {
    view.exportCSV();
    EXPECT_EQ(suggestions.size(), 1);
    EXPECT_FALSE(view.justExported());
    EXPECT_TRUE(view.exportError().isHidden());

    destination = dir.filePath(QStringLiteral("missing/folder/power.csv"));
    view.exportCSV();
    EXPECT_FALSE(view.justExported());
    EXPECT_FALSE(QFileInfo::exists(destination));
    EXPECT_FALSE(view.exportError().isHidden());
    EXPECT_TRUE(view.exportError().title().startsWith(QStringLiteral("CSV export failed")));
}

} // namespace
} // namespace halvoren::power
