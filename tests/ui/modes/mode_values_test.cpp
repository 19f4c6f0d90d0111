#include "ui/modes/mode_values.h"

#include <gtest/gtest.h>
#include <limits>

namespace halvoren::modes {
namespace {

const std::vector<DeviceSensorReading>& machineSensors() {
    static const std::vector<DeviceSensorReading> sensors{
        {.id = "TC0P", .name = "CPU Proximity", .symbol = "cpu", .value = 50.0},
        {.id = "TG0P", .name = "GPU Proximity", .symbol = "cpu", .value = std::nullopt},
        {.id = "TC0P", .name = "Duplicate", .symbol = "cpu", .value = 1.0},
    };
    return sensors;
}

TEST(ModeValues, SpeedSubtitleRoundsToAWholePercent) {
    const struct {
        ModeSpeed speed;
        const char* text;
    } cases[] = {
        {ModeSpeed::fixed(0.7), "Fixed 70%"},
        {ModeSpeed::floor(0.25), "Min 25%"},
        {ModeSpeed::floor(0.125), "Min 13%"}, // halves away from zero
        {ModeSpeed::fixed(1.0), "Fixed 100%"},
        {ModeSpeed::floor(0.0), "Min 0%"},
        {ModeSpeed::floor(std::numeric_limits<double>::quiet_NaN()), "Min 0%"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(speedSubtitle(c.speed), c.text);
    }
}

TEST(ModeValues, ActiveOnlyWhenTheIdsMatch) {
    const Uuid id = Uuid::random();
    EXPECT_TRUE(isActive(id, id));
    EXPECT_FALSE(isActive(id, Uuid::random()));
    EXPECT_FALSE(isActive(id, std::nullopt));
}

TEST(ModeValues, PickerRowsAggregatesThenSensorsInOrder) {
    const std::vector<ModePickerBoxOption> options = triggerOptions(machineSensors());
    ASSERT_EQ(options.size(), 8U);
    EXPECT_EQ(options[0], (ModePickerBoxOption{"mode-sensor.source.hottest", "Hottest Sensor",
                                               ModeSensor::source(ControlSource::hottest)}));
    EXPECT_EQ(options[4].id, "mode-sensor.source.gpuAverage");
    EXPECT_EQ(options[6],
              (ModePickerBoxOption{"mode-sensor.sensor.TG0P", "GPU Proximity", ModeSensor::sensor("TG0P")}));

    const std::vector<ModePickerBoxOption> display = displayOptions(machineSensors());
    ASSERT_EQ(display.size(), 9U);
    EXPECT_EQ(display[0],
              (ModePickerBoxOption{"mode-sensor.same-as-trigger", "Same as trigger", std::nullopt}));
    EXPECT_EQ(display[1], options[0]);
}

TEST(ModeValues, PickerLookupsBothWays) {
    const std::vector<ModePickerBoxOption> display = displayOptions(machineSensors());
    EXPECT_EQ(sensorForOption("mode-sensor.sensor.TG0P", display), ModeSensor::sensor("TG0P"));
    EXPECT_EQ(sensorForOption(sameAsTriggerID, display), std::nullopt);
    EXPECT_EQ(sensorForOption("mode-sensor.sensor.gone", display), std::nullopt);

    EXPECT_EQ(optionIndex(display, std::nullopt), 0U);
    EXPECT_EQ(optionIndex(display, ModeSensor::source(ControlSource::cpuEfficiency)), 4U);
    // The first of two rows holding the same sensor; none for a sensor no row holds.
    EXPECT_EQ(optionIndex(display, ModeSensor::sensor("TC0P")), 6U);
    EXPECT_EQ(optionIndex(display, ModeSensor::sensor("gone")), std::nullopt);
    EXPECT_EQ(optionIndex(triggerOptions(machineSensors()), std::nullopt), std::nullopt);
}

TEST(ModeValues, SensorNames) {
    EXPECT_EQ(sensorName(ModeSensor::source(ControlSource::cpuAverage), machineSensors()),
              "CPU Core Average");
    EXPECT_EQ(sensorName(ModeSensor::sensor("TC0P"), machineSensors()), "CPU Proximity");
    EXPECT_EQ(sensorName(ModeSensor::sensor("gone"), machineSensors()), "Sensor");
    EXPECT_EQ(sensorName(ModeSensor::sensor("TC0P"), {}), "Sensor");
}

TEST(ModeValues, RowTexts) {
    CustomMode mode(Uuid::random(), "Night", "moon.fill", ModeSpeed::floor(0.25),
                    ModeSensor::source(ControlSource::gpuAverage));
    EXPECT_EQ(shownSensor(mode), ModeSensor::source(ControlSource::gpuAverage));
    mode.displaySensor = ModeSensor::sensor("TC0P");
    EXPECT_EQ(shownSensor(mode), ModeSensor::sensor("TC0P"));

    EXPECT_EQ(temperatureText(std::nullopt, false, false), "—");
    EXPECT_EQ(temperatureText(54.26, false, true), "54.3°C");
    EXPECT_EQ(temperatureText(100.0, true, false), "212°F");
}

TEST(ModeValues, StartersCopyTheTemplateUnderANewIdentity) {
    const CustomMode& gaming = CustomMode::gamingTemplate();
    EXPECT_EQ(starterTitle(gaming), "Start from Gaming");
    EXPECT_EQ(starterAccessibleText(gaming), "Adds a custom mode named Gaming with a 70 percent Fixed speed");
    CustomMode made = starterMode(gaming);
    EXPECT_NE(made.id, gaming.id);
    made.id = gaming.id;
    EXPECT_EQ(made, gaming);
}

TEST(ModeValues, EditorSeedAndSave) {
    const EditorSeed fresh = editorSeed(std::nullopt);
    EXPECT_FALSE(fresh.id.isNil());
    EXPECT_NE(editorSeed(std::nullopt).id, fresh.id);
    EXPECT_TRUE(fresh.name.isEmpty());
    EXPECT_EQ(fresh.symbolName, CustomMode::curatedSymbolNames.front());
    EXPECT_EQ(fresh.controlSensor, ModeSensor::source(ControlSource::hottest));

    const CustomMode stored(Uuid::random(), "Quiet", "moon.fill", ModeSpeed::fixed(0.37),
                            ModeSensor::sensor("TC0P"), ModeSensor::sensor("gone"), true);
    EXPECT_EQ(savedMode(editorSeed(stored)), stored);

    EditorSeed edited = editorSeed(stored);
    edited.isFixedSpeed = false;
    for (const char* name : {"  Mode  ", "\n\tMode \r\n", "Mode"}) {
        edited.name = QString::fromUtf8(name);
        const CustomMode saved = savedMode(edited);
        EXPECT_EQ(saved.name, "Mode");
        EXPECT_EQ(saved.speed, ModeSpeed::floor(0.37));
        EXPECT_EQ(saved.id, stored.id);
    }
    EXPECT_TRUE(trimmedName(QStringLiteral(" \t\r\n ")).isEmpty());
}

} // namespace
} // namespace halvoren::modes
