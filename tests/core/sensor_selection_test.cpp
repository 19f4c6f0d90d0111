#include "core/device_sensor_map.h"
#include "core/menu_bar_item_renderer.h"
#include "core/sensor_classifier.h"
#include "core/sensor_selection.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace halvoren {
namespace {

using SensorSelection::ReadingHistory;
using SensorSelection::trustedMaxTemperature;
using Readings = std::vector<std::pair<std::string, double>>;

// Temperature sensors named and grouped the way discovery does it.
std::vector<SMCSensor> sensorsOf(const Readings& readings) {
    std::vector<SMCSensor> sensors;
    for (const auto& [key, value] : readings) {
        sensors.push_back(SMCSensor{key, key, SensorClassifier::humanName(key),
                                    SensorClassifier::category(key, SensorClass::temperature), value,
                                    SensorClass::temperature, "°C"});
    }
    return sensors;
}

TEST(SensorSelection, TheHottestSourceFollowsRealComponents) {
    // The idle M2 Max: a fabric family 19-42 °C above every die reading, parked P-cores.
    const Readings idleM2Max{{"TCMz", 38.3}, {"Te06", 38.2}, {"Tg0X", 36.8}, {"Tf04", 33.4},
                             {"Tf06", 80.3}, {"Tf26", 76.0}, {"Tf46", 57.2}, {"Tf21", 12.8},
                             {"TB0T", 25.9}, {"Tp01", 6.7},  {"Tp00", 0.0}};
    const struct {
        const char* what;
        Readings readings;
        std::optional<double> expected;
    } cases[] = {
        {"idle fabric offset", idleM2Max, 38.3},
        // Under load the same family comes within a few degrees of the dies and may lead.
        {"fabric near loaded dies", {{"TCMz", 92.0}, {"Tg0X", 80.0}, {"Tf06", 95.0}}, 95.0},
        // A family is judged by its middle reading: one member just inside does not lead for it.
        {"family mostly far above",
         {{"TCMz", 63.0}, {"Tf06", 94.0}, {"Tf16", 89.0}, {"Tf26", 90.0}, {"Tf36", 75.0}, {"Tf46", 71.0}},
         63.0},
        {"one member of a close family far above",
         {{"TCMz", 90.0}, {"Tf06", 93.0}, {"Tf16", 94.0}, {"Tf26", 92.0}, {"Tf46", 120.0}},
         94.0},
        {"on-die margin is inclusive", {{"TCMz", 40.0}, {"Tf06", 50.0}}, 50.0},
        {"just beyond the on-die margin", {{"TCMz", 40.0}, {"Tf06", 50.5}}, 40.0},
        // Off-die parts heat on their own and get the wider margin.
        {"hot battery beside idle dies", {{"Tp01", 35.0}, {"TB0T", 50.0}, {"TB1T", 49.0}}, 50.0},
        {"hot storage", {{"TC0P", 45.0}, {"TH0x", 64.0}, {"Ts0P", 30.0}}, 64.0},
        {"off-die reading far beyond anything", {{"TC0P", 35.0}, {"TB0T", 56.0}}, 35.0},
        // A loaded GPU is itself a reference and lifts the bound of its neighbours.
        {"gpu under load", {{"Tp01", 50.0}, {"Tg05", 90.0}, {"Tf06", 97.0}}, 97.0},
        {"intel cores far apart", {{"TC0P", 55.0}, {"TC3C", 82.0}, {"TM0P", 58.0}, {"TB0T", 31.0}}, 82.0},
        // Without a live die reading nothing is compared: the old rule.
        {"no die reference", {{"TB0T", 30.0}, {"Ts0P", 28.0}, {"Tf06", 80.0}}, 80.0},
        {"parked cores are no reference", {{"Tp01", 8.0}, {"TB0T", 30.0}, {"Tf06", 70.0}}, 70.0},
        // Nothing live: the largest named reading still answers.
        {"all parked", {{"Tp01", 6.7}, {"Tp02", 8.4}, {"Te04", 0.0}, {"Tf02", -7.0}}, 8.4},
        {"unnamed keys never count", {{"TZ0P", 99.0}, {"TVM4", 60.0}, {"TB0T", 30.0}}, 30.0},
        {"nothing named", {{"TZ0P", 99.0}}, std::nullopt}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::vector<SMCSensor> sensors = sensorsOf(c.readings);
        EXPECT_EQ(trustedMaxTemperature(sensors), c.expected);
        EXPECT_EQ(DeviceSensorMap::aggregate(ControlSource::hottest, sensors, {}), c.expected);
        if (c.expected) { // the menu bar names the sensor the control source follows
            EXPECT_EQ(MenuBarItemRenderer::hottestSensor(sensors)->currentTemp, *c.expected);
        }
    }
}

TEST(SensorSelection, OnlyTemperaturesCountAndTheMenuBarFallsBackToUnnamedSensors) {
    std::vector<SMCSensor> sensors = sensorsOf({{"TC0P", 40.0}, {"TB0T", 45.0}});
    sensors[1].sensorClass = SensorClass::other;
    EXPECT_EQ(trustedMaxTemperature(sensors), 40.0);
    EXPECT_EQ(MenuBarItemRenderer::hottestSensor(sensorsOf({{"TZ0P", 41.0}, {"TZ1P", 44.0}}))->key, "TZ1P");
    EXPECT_EQ(MenuBarItemRenderer::hottestSensor({}), std::nullopt);
    EXPECT_EQ(MenuBarItemRenderer::hottestSensor(sensorsOf({{"TB0T", 40.0}, {"TB1T", 40.0}}))->key, "TB0T");
}

// Sweeps once a second for `seconds`: the die sensors at 35 °C and more move by a small step
// each sweep, `fixed` holds its value.
ReadingHistory sweepFor(int seconds, std::vector<SMCSensor>& sensors, std::size_t fixed) {
    ReadingHistory history;
    for (int t = 0; t <= seconds; ++t) {
        for (std::size_t i = 0; i < sensors.size(); ++i) {
            if (i != fixed && sensors[i].currentTemp >= 35.0) {
                sensors[i].currentTemp += (t % 2 == 0 ? 0.1 : -0.1);
            }
        }
        history.record(sensors, t);
    }
    return history;
}

TEST(SensorSelection, ADieReadingThatHoldsStillWhileOthersMoveIsParked) {
    // A powered-down core holding exactly 40.0 while the live cores read about 36.
    std::vector<SMCSensor> sensors =
        sensorsOf({{"Tp01", 40.0}, {"Tp05", 36.0}, {"Te04", 35.0}, {"TB0T", 30.0}});
    const ReadingHistory young = sweepFor(29, sensors, 0);
    EXPECT_EQ(trustedMaxTemperature(sensors, young), 40.0);
    const ReadingHistory parked = sweepFor(30, sensors, 0);
    EXPECT_NEAR(*trustedMaxTemperature(sensors, parked), 36.0, 0.2);
    EXPECT_EQ(MenuBarItemRenderer::hottestSensor(sensors, parked)->key, "Tp05");
    // It no longer lifts the bound of the fabric either.
    std::vector<SMCSensor> withFabric =
        sensorsOf({{"Tp01", 40.0}, {"Tp05", 36.0}, {"Tf06", 49.0}, {"TB0T", 30.0}});
    EXPECT_NEAR(*trustedMaxTemperature(withFabric, sweepFor(29, withFabric, 0)), 49.0, 0.2);
    EXPECT_NEAR(*trustedMaxTemperature(withFabric, sweepFor(30, withFabric, 0)), 36.0, 0.2);

    // The moment it moves again it counts.
    ReadingHistory history = parked;
    sensors[0].currentTemp = 40.5;
    history.record(sensors, 31);
    EXPECT_EQ(trustedMaxTemperature(sensors, history), 40.5);
}

TEST(SensorSelection, HoldingStillIsParkingOnlyForDieReadingsOnAMovingMachine) {
    // A static controller: nothing moves, so nothing is parked.
    std::vector<SMCSensor> frozen = sensorsOf({{"Tp01", 40.0}, {"Tp05", 36.0}});
    ReadingHistory history;
    for (int t = 0; t <= 120; t += 10) {
        history.record(frozen, t);
    }
    EXPECT_EQ(trustedMaxTemperature(frozen, history), 40.0);

    // A battery may sit at one value for minutes and still be real.
    std::vector<SMCSensor> battery = sensorsOf({{"Tp05", 36.0}, {"TB0T", 45.0}});
    EXPECT_EQ(trustedMaxTemperature(battery, sweepFor(120, battery, 1)), 45.0);

    // A history of another sensor list knows nothing about this one.
    std::vector<SMCSensor> other = sensorsOf({{"Tp01", 40.0}, {"Tp05", 36.0}, {"Te04", 35.0}});
    const ReadingHistory parked = sweepFor(60, other, 0);
    const std::vector<SMCSensor> reordered{other[1], other[0], other[2]};
    EXPECT_EQ(trustedMaxTemperature(reordered, parked), 40.0);
    EXPECT_EQ(parked.stillFor(0, other[0]), 60.0);
    EXPECT_EQ(parked.stillFor(0, reordered[0]), 0.0);
    EXPECT_EQ(parked.stillFor(7, other[0]), 0.0);

    // A sweep of other keys starts afresh.
    ReadingHistory shorter = parked;
    other.pop_back();
    shorter.record(other, 61);
    shorter.record(other, 70);
    EXPECT_EQ(shorter.stillFor(0, other[0]), 9.0);
}

} // namespace
} // namespace halvoren
