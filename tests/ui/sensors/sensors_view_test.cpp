#include "ui/components/notice_view.h"
#include "ui/panel/panel_buttons.h"
#include "ui/sensors/device_sensor_row.h"
#include "ui/sensors/sensor_list.h"
#include "ui/sensors/sensor_row.h"
#include "ui/sensors/sensors_view.h"
#include "ui/ui_engine_fixture.h"

#include <QAction>
#include <QLineEdit>
#include <limits>

namespace halvoren::sensor_list {
namespace {

SMCSensor sensor(std::string key, std::string name, SensorClass sensorClass, double value = 1.0) {
    return {.id = key,
            .key = key,
            .name = std::move(name),
            .currentTemp = value,
            .sensorClass = sensorClass,
            .unit = ""};
}

const std::vector<SMCSensor> machine{
    sensor("TC0P", "CPU P", SensorClass::temperature), sensor("TGb", "GPU b", SensorClass::temperature),
    sensor("TZ", "Z", SensorClass::temperature),       sensor("Ta", "a", SensorClass::temperature),
    sensor("TG2", "GPU 2", SensorClass::temperature),  sensor("PSTR", "System Power", SensorClass::power),
    sensor("VD0R", "DC In", SensorClass::voltage),     sensor("ID0R", "DC In Current", SensorClass::current),
    sensor("F0Ac", "Fan 0", SensorClass::fan),         sensor("XX", "Odd", SensorClass::other),
};

// "Title: name, name | Title: name".
std::string outline(const std::vector<Group>& groups) {
    std::string text;
    for (const Group& group : groups) {
        text += (text.empty() ? "" : " | ") + group.title.toStdString() + ":";
        for (const SMCSensor& s : group.sensors) {
            text += " " + s.name;
        }
    }
    return text;
}

TEST(SensorListTest, GroupsFilterPinAndSortByCodePoint) {
    struct Case {
        const char* query;
        std::set<std::string> pinned;
        std::string expected;
    };
    const std::vector<Case> cases{
        {"",
         {},
         "Temperature: CPU P GPU 2 GPU b Z a | Power: System Power | Voltage: DC In | Current: DC In Current "
         "| "
         "Fans: Fan 0"},
        {" \t\n",
         {"VD0R"},
         "Pinned: DC In | Temperature: CPU P GPU 2 GPU b Z a | Power: System Power | Current: DC In Current "
         "| "
         "Fans: Fan 0"},
        {"tc0", {}, "Temperature: CPU P"}, // by key, whatever the case
        {"  GPU ", {"TGb"}, "Pinned: GPU b | Temperature: GPU 2"},
        {"dc in", {"TC0P"}, "Voltage: DC In | Current: DC In Current"}, // a pin the query misses
        {"",
         {"TC0P", "PSTR"},
         "Pinned: CPU P System Power | Temperature: GPU 2 GPU b Z a | Voltage: DC In | "
         "Current: DC In Current | Fans: Fan 0"},
        {"odd", {}, ""},
    };
    for (const Case& c : cases) {
        const auto groups = rawGroups(machine, QString::fromUtf8(c.query), c.pinned);
        EXPECT_EQ(outline(groups), c.expected) << '"' << c.query << '"';
    }
    EXPECT_EQ(fullCountText(rawGroups(machine, QStringLiteral("gpu"), {}), machine.size()), "2 of 10");
    EXPECT_EQ(unpinned(machine, {"TC0P", "XX"}).front().key, "TGb");
}

TEST(SensorListTest, ValueTextPerClass) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    struct Case {
        SensorClass sensorClass;
        double value;
        const char* expected;
    };
    for (const Case& c : std::vector<Case>{
             {SensorClass::temperature, 62.4, "62°C"},
             {SensorClass::temperature, nan, "—"},
             {SensorClass::fan, inf, "—"},
             {SensorClass::power, 3.14159, "3.14 W"},
             {SensorClass::voltage, 12.0, "12.00 V"},
             {SensorClass::current, -0.5, "-0.50 A"},
             {SensorClass::fan, 1234.5, "1235 RPM"},
             {SensorClass::other, 7.0, "7.00"},
         }) {
        EXPECT_EQ(valueText(sensor("K", "N", c.sensorClass, c.value), false, false),
                  QString::fromUtf8(c.expected))
            << c.value;
    }
    EXPECT_EQ(valueText(sensor("K", "N", SensorClass::temperature, 50.0), true, false), "122°F");
    // Pinned rows add ", pinned": the view's test.
    EXPECT_EQ(accessibleLabel(sensor("PSTR", "System Power", SensorClass::power, 2.0), false, false, false),
              "System Power, 2.00 W");
    EXPECT_EQ(essentialsCountText(0, true), "0 key readings · °F");
}

class SensorsViewTest : public UiEngineTest {
protected:
    void discover() {
        sweep({temperature("TC0P", "CPU Proximity", 60.0), temperature("TG0P", "GPU Proximity", 50.0),
               sensor("PSTR", "System Power", SensorClass::power, 9.5)});
    }

    SensorsView& build() {
        view = std::make_unique<SensorsView>(*engine, settings);
        view->resize(700, 600);
        view->show();
        return *view;
    }

    std::unique_ptr<SensorsView> view;
};

TEST_F(SensorsViewTest, OnlyTheEmptyStateBeforeDiscoveryAndSearchLooksAtEverySensorWhateverTheScope) {
    SensorsView& sensors = build();
    EXPECT_FALSE(sensors.emptyState().isHidden());
    EXPECT_TRUE(sensors.essentialRows().empty());
    EXPECT_TRUE(sensors.sensorRows().empty());
    discover();
    EXPECT_TRUE(sensors.emptyState().isHidden());
    EXPECT_EQ(sensors.heading(), "Essentials");
    ASSERT_FALSE(sensors.essentialRows().empty());
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
} // namespace halvoren::sensor_list
