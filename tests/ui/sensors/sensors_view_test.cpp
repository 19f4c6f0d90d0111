#include "ui/components/notice_view.h"
#include "ui/panel/panel_buttons.h"
#include "ui/sensors/device_sensor_row.h"
#include "ui/sensors/sensor_row.h"
#include "ui/sensors/sensors_view.h"
#include "ui/ui_engine_fixture.h"

#include <QAction>
#include <QLineEdit>

namespace halvoren {
namespace {

class SensorsViewTest : public UiEngineTest {
protected:
    void discover() {
        sweep({temperature("TC0P", "CPU Proximity", 60.0), temperature("TG0P", "GPU Proximity", 50.0),
               SMCSensor{.id = "PSTR",
                         .key = "PSTR",
                         .name = "System Power",
                         .currentTemp = 9.5,
                         .sensorClass = SensorClass::power,
                         .unit = "W"}});
    }

    SensorsView& build() {
        view = std::make_unique<SensorsView>(*engine, settings);
        view->resize(700, 600);
        view->show();
        return *view;
    }

    std::unique_ptr<SensorsView> view;
};

TEST_F(SensorsViewTest, BeforeDiscoveryOnlyTheEmptyState) {
    SensorsView& sensors = build();
    EXPECT_FALSE(sensors.emptyState().isHidden());
    EXPECT_TRUE(sensors.essentialRows().empty());
    EXPECT_TRUE(sensors.sensorRows().empty());
}

TEST_F(SensorsViewTest, SearchLooksAtEverySensorWhateverTheScope) {
    discover();
    SensorsView& sensors = build();
    EXPECT_TRUE(sensors.emptyState().isHidden());
    EXPECT_EQ(sensors.heading(), "Essentials");
    ASSERT_FALSE(sensors.essentialRows().empty());
    EXPECT_EQ(sensors.countText(), QString::number(engine->deviceSensorsDisplay().value().size()) +
                                       QStringLiteral(" key readings · °C"));
    sensors.essentialRows().front()->click();
    EXPECT_TRUE(sensors.essentialRows().front()->isExpanded());
    sensors.essentialRows().front()->click();
    EXPECT_FALSE(sensors.expandedSensorID().has_value());

    sensors.searchField().setText(QStringLiteral("  "));
    EXPECT_EQ(sensors.heading(), "Essentials");
    EXPECT_FALSE(sensors.scopeTabs().isHidden());

    sensors.searchField().setText(QStringLiteral("prox"));
    EXPECT_EQ(sensors.heading(), "All Sensors");
    EXPECT_TRUE(sensors.scopeTabs().isHidden());
    ASSERT_EQ(sensors.sensorRows().size(), 2U);
    EXPECT_EQ(sensors.sensorRows().front()->sensor().name, "CPU Proximity");
    EXPECT_EQ(sensors.countText(), "2 of 3");
    EXPECT_TRUE(sensors.noResults().isHidden());

    sensors.searchField().setText(QStringLiteral("nothing like it"));
    EXPECT_TRUE(sensors.sensorRows().empty());
    EXPECT_FALSE(sensors.noResults().isHidden());
    EXPECT_EQ(sensors.countText(), "0 of 3");
}

TEST_F(SensorsViewTest, PinningMovesARowUpAndTheScopeIsKept) {
    discover();
    build().scopeTabs().tabs()[1]->click();
    ASSERT_TRUE(view->showAll());
    ASSERT_EQ(view->groupHeaders().size(), 2U);
    EXPECT_EQ(view->groupHeaders()[1]->title(), "Power");
    SensorRow* power = view->sensorRows().back();
    ASSERT_EQ(power->sensor().key, "PSTR");
    EXPECT_EQ(power->pinAction().text(), "Pin");
    power->pinAction().trigger();

    EXPECT_TRUE(engine->isPinned("PSTR"));
    ASSERT_EQ(view->groupHeaders().size(), 2U);
    EXPECT_EQ(view->groupHeaders()[0]->title(), "Pinned");
    EXPECT_EQ(view->groupHeaders()[0]->countText(), "1");
    EXPECT_EQ(view->sensorRows().front()->sensor().key, "PSTR");
    EXPECT_EQ(view->sensorRows().front()->pinAction().text(), "Unpin");
    EXPECT_TRUE(view->sensorRows().front()->accessibleName().endsWith(QStringLiteral(", pinned")));

    // A new view opens on the scope last chosen.
    view.reset();
    EXPECT_EQ(build().heading(), "All Sensors");
}

} // namespace
} // namespace halvoren
