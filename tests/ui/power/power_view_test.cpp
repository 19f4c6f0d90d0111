#include "ui/components/notice_view.h"
#include "ui/panel/panel_buttons.h"
#include "ui/power/power_view.h"
#include "ui/ui_engine_fixture.h"

#include <QFile>
#include <QFileInfo>

namespace halvoren {
namespace {

class PowerViewTest : public UiEngineTest {
protected:
    PowerViewTest() {
        view.setPathChooser([this](QWidget*, const QString& suggested) {
            suggestions.push_back(suggested);
            return destination;
        });
    }

    QString read(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
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
    const QString written = read(destination);
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
} // namespace halvoren
