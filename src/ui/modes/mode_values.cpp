#include "ui/modes/mode_values.h"

#include "core/json_support.h"
#include "core/temperature_format.h"

#include <cmath>

namespace halvoren::modes {

namespace {

QString text(std::string_view words) {
    return QString::fromUtf8(words.data(), static_cast<qsizetype>(words.size()));
}

// A fraction as a whole percentage; a stored NaN reads as nothing rather than garbage.
long wholePercent(double fraction) {
    return std::isfinite(fraction) ? std::lround(fraction * 100.0) : 0L;
}

} // namespace

bool isActive(const Uuid& id, const std::optional<Uuid>& activeCustomModeID) {
    return activeCustomModeID == id;
}

QString percentText(double fraction) {
    return QString::number(wholePercent(fraction)) + QLatin1Char('%');
}

QString speedSubtitle(const ModeSpeed& speed) {
    const QString word =
        speed.kind() == ModeSpeed::Kind::fixed ? QStringLiteral("Fixed ") : QStringLiteral("Min ");
    return word + percentText(speed.percentage());
}

std::vector<ModePickerBoxOption> triggerOptions(const std::vector<DeviceSensorReading>& deviceSensors) {
    std::vector<ModePickerBoxOption> options;
    options.reserve(EnumTable<ControlSource>::entries.size() + deviceSensors.size());
    for (const auto& [source, raw] : EnumTable<ControlSource>::entries) {
        options.push_back({"mode-sensor.source." + std::string(raw), text(displayName(source)),
                           ModeSensor::source(source)});
    }
    for (const DeviceSensorReading& reading : deviceSensors) {
        options.push_back({"mode-sensor.sensor." + reading.id, QString::fromStdString(reading.name),
                           ModeSensor::sensor(reading.id)});
    }
    return options;
}

std::vector<ModePickerBoxOption> displayOptions(const std::vector<DeviceSensorReading>& deviceSensors) {
    std::vector<ModePickerBoxOption> options{
        {sameAsTriggerID, QStringLiteral("Same as trigger"), std::nullopt}};
    for (ModePickerBoxOption& option : triggerOptions(deviceSensors)) {
        options.push_back(std::move(option));
    }
    return options;
}

QString sensorName(const ModeSensor& sensor, const std::vector<DeviceSensorReading>& deviceSensors) {
    if (const std::optional<ControlSource> source = sensor.controlSource()) {
        return text(displayName(*source));
    }
    const std::string id = sensor.sensorID().value_or(std::string());
    for (const DeviceSensorReading& reading : deviceSensors) {
        if (reading.id == id) {
            return QString::fromStdString(reading.name);
        }
    }
    return QStringLiteral("Sensor");
}

std::optional<ModeSensor> sensorForOption(const std::string& optionID,
                                          const std::vector<ModePickerBoxOption>& options) {
    for (const ModePickerBoxOption& option : options) {
        if (option.id == optionID) {
            return option.sensor;
        }
    }
    return std::nullopt;
}

std::optional<std::size_t> optionIndex(const std::vector<ModePickerBoxOption>& options,
                                       const std::optional<ModeSensor>& sensor) {
    for (std::size_t i = 0; i < options.size(); ++i) {
        if (options[i].sensor == sensor) {
            return i;
        }
    }
    return std::nullopt;
}

const ModeSensor& shownSensor(const CustomMode& mode) {
    return mode.displaySensor ? *mode.displaySensor : mode.controlSensor;
}

QString temperatureText(std::optional<double> celsius, bool fahrenheit, bool precise) {
    if (!celsius) {
        return QStringLiteral("—");
    }
    return QString::fromStdString(TemperatureFormat::display(*celsius, fahrenheit, precise));
}

QString rowHint(const CustomMode& mode, const QString& sensorName, const QString& temperature) {
    return speedSubtitle(mode.speed) + QStringLiteral(". ") + sensorName + QStringLiteral(", ") +
           temperature + QLatin1Char('.');
}

QString starterTitle(const CustomMode& starter) {
    return QStringLiteral("Start from ") + QString::fromStdString(starter.name);
}

QString starterAccessibleText(const CustomMode& starter) {
    return QStringLiteral("Adds a custom mode named ") + QString::fromStdString(starter.name) +
           QStringLiteral(" with a ") + QString::number(wholePercent(starter.speed.percentage())) +
           QStringLiteral(" percent ") + text(starter.speed.displayName()) + QStringLiteral(" speed");
}

CustomMode starterMode(const CustomMode& starter) {
    CustomMode made = starter;
    made.id = Uuid::random();
    return made;
}

QString deleteMessage(const CustomMode& mode) {
    return QStringLiteral("“") + QString::fromStdString(mode.name) +
           QStringLiteral("” will be removed. This can't be undone.");
}

QString trimmedName(const QString& name) {
    return name.trimmed();
}

EditorSeed editorSeed(const std::optional<CustomMode>& editing) {
    if (!editing) {
        return EditorSeed{.id = Uuid::random(),
                          .name = {},
                          .symbolName = std::string(CustomMode::curatedSymbolNames.front()),
                          .percentage = 0.5,
                          .isFixedSpeed = false,
                          .controlSensor = ModeSensor::source(ControlSource::hottest),
                          .displaySensorChoice = std::nullopt,
                          .drivesMainReadout = false};
    }
    return EditorSeed{.id = editing->id,
                      .name = QString::fromStdString(editing->name),
                      .symbolName = editing->symbolName,
                      .percentage = editing->speed.percentage(),
                      .isFixedSpeed = editing->speed.kind() == ModeSpeed::Kind::fixed,
                      .controlSensor = editing->controlSensor,
                      .displaySensorChoice = editing->displaySensor,
                      .drivesMainReadout = editing->drivesMainReadout};
}

CustomMode savedMode(const EditorSeed& fields) {
    const ModeSpeed speed =
        fields.isFixedSpeed ? ModeSpeed::fixed(fields.percentage) : ModeSpeed::floor(fields.percentage);
    return {fields.id,
            trimmedName(fields.name).toStdString(),
            fields.symbolName,
            speed,
            fields.controlSensor,
            fields.displaySensorChoice,
            fields.drivesMainReadout};
}

} // namespace halvoren::modes
