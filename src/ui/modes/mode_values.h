#pragma once

#include "core/custom_mode.h"
#include "core/device_sensor_map.h"
#include "core/uuid.h"

#include <QString>
#include <optional>
#include <string>
#include <vector>

// What the Modes section shows, worked out apart from the widgets.
namespace halvoren::modes {

// One row of a sensor picker; the "Same as trigger" row carries no sensor.
struct ModePickerBoxOption {
    std::string id;
    QString label;
    std::optional<ModeSensor> sensor;

    friend bool operator==(const ModePickerBoxOption&, const ModePickerBoxOption&) = default;
};

inline constexpr const char* sameAsTriggerID = "mode-sensor.same-as-trigger";

// The engaged mode's row is the one whose id is the active id.
bool isActive(const Uuid& id, const std::optional<Uuid>& activeCustomModeID);

// A fraction as a whole percentage, "70%".
QString percentText(double fraction);
// "Fixed 70%" or "Min 25%".
QString speedSubtitle(const ModeSpeed& speed);

// The aggregates first, then every device sensor in the given order.
std::vector<ModePickerBoxOption> triggerOptions(const std::vector<DeviceSensorReading>& deviceSensors);
// The display picker's rows: "Same as trigger" followed by the trigger rows.
std::vector<ModePickerBoxOption> displayOptions(const std::vector<DeviceSensorReading>& deviceSensors);

// The aggregate's name, or the device sensor's; "Sensor" for one the machine no longer has.
QString sensorName(const ModeSensor& sensor, const std::vector<DeviceSensorReading>& deviceSensors);

// The sensor of the picked row; none for "Same as trigger" and for an id not listed.
std::optional<ModeSensor> sensorForOption(const std::string& optionID,
                                          const std::vector<ModePickerBoxOption>& options);
// The row that shows `sensor`, matched by value; none when no row holds it.
std::optional<std::size_t> optionIndex(const std::vector<ModePickerBoxOption>& options,
                                       const std::optional<ModeSensor>& sensor);

// What a row shows and follows: the display sensor, or the control sensor without one.
const ModeSensor& shownSensor(const CustomMode& mode);
// The reading in the user's format, or "—" without one.
QString temperatureText(std::optional<double> celsius, bool fahrenheit, bool precise);
// The row's spoken hint: subtitle, sensor name and temperature.
QString rowHint(const CustomMode& mode, const QString& sensorName, const QString& temperature);

QString starterTitle(const CustomMode& starter);
QString starterAccessibleText(const CustomMode& starter);
// A copy of the template under an identity of its own.
CustomMode starterMode(const CustomMode& starter);

QString deleteMessage(const CustomMode& mode);

// The name as saved: white space and line ends trimmed at both ends.
QString trimmedName(const QString& name);

// The editor's fields, seeded from the edited mode or the defaults of a new one.
struct EditorSeed {
    Uuid id;
    QString name;
    std::string symbolName;
    double percentage = 0.5;
    bool isFixedSpeed = false;
    ModeSensor controlSensor;
    std::optional<ModeSensor> displaySensorChoice;
    bool drivesMainReadout = false;
};

EditorSeed editorSeed(const std::optional<CustomMode>& editing);
// The mode the editor's fields describe, with the name trimmed.
CustomMode savedMode(const EditorSeed& fields);

} // namespace halvoren::modes
