#pragma once

#include "core/control_source.h"
#include "core/json_value.h"
#include "core/uuid.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace halvoren {

// How a custom mode sets the fan speed: a floor the fans never go below, or a fixed
// speed that replaces the curve. Both carry a fraction of the fan's range.
class ModeSpeed {
public:
    enum class Kind { floor, fixed };

    // No floor at all: the value a default-built mode starts from.
    constexpr ModeSpeed() = default;

    static constexpr ModeSpeed floor(double percentage) { return ModeSpeed{Kind::floor, percentage}; }
    static constexpr ModeSpeed fixed(double percentage) { return ModeSpeed{Kind::fixed, percentage}; }

    constexpr Kind kind() const { return kind_; }
    constexpr double percentage() const { return percentage_; }
    std::string_view displayName() const;

    friend constexpr bool operator==(const ModeSpeed&, const ModeSpeed&) = default;

private:
    constexpr ModeSpeed(Kind kind, double percentage)
        : kind_(kind)
        , percentage_(percentage) {}

    Kind kind_ = Kind::floor;
    double percentage_ = 0.0;
};

// The temperature a custom mode follows or shows: an aggregate of the machine's
// sensors, or one device sensor by its id.
class ModeSensor {
public:
    enum class Kind { source, sensor };

    // The hottest sensor, which is also what a mode without a control sensor follows.
    ModeSensor() = default;

    static ModeSensor source(ControlSource source) { return ModeSensor{Value{source}}; }
    static ModeSensor sensor(std::string id) { return ModeSensor{Value{std::move(id)}}; }

    Kind kind() const { return value_.index() == 0 ? Kind::source : Kind::sensor; }
    // The aggregate of the `source` case; empty for the `sensor` case.
    std::optional<ControlSource> controlSource() const;
    // The device sensor's id of the `sensor` case; empty for the `source` case.
    std::optional<std::string> sensorID() const;

    friend bool operator==(const ModeSensor&, const ModeSensor&) = default;

private:
    using Value = std::variant<ControlSource, std::string>;
    explicit ModeSensor(Value value)
        : value_(std::move(value)) {}

    Value value_{ControlSource::hottest};
};

// A one-tap setting made by the user: a named speed style, the sensor that drives the
// fans and the sensor to show. `id` is its identity and is not changed after creation.
struct CustomMode {
    Uuid id;
    std::string name;
    std::string symbolName;
    ModeSpeed speed;
    ModeSensor controlSensor;
    // What the mode's row shows; empty means the same as `controlSensor`.
    std::optional<ModeSensor> displaySensor;
    // The shown sensor also feeds the dashboard and the menu bar.
    bool drivesMainReadout = false;

    CustomMode() = default;
    // Clamps the speed's percentage to 0...1, keeping its case; NaN passes through.
    CustomMode(Uuid id, std::string name, std::string symbolName, ModeSpeed speed, ModeSensor controlSensor,
               std::optional<ModeSensor> displaySensor = std::nullopt, bool drivesMainReadout = false);

    friend bool operator==(const CustomMode&, const CustomMode&) = default;

    // The symbols offered when the user picks one, in display order.
    static constexpr std::array<std::string_view, 8> curatedSymbolNames{
        "gamecontroller.fill", "mic.fill",  "cube.fill", "flame.fill",
        "bolt.fill",           "moon.fill", "film.fill", "chart.bar.fill",
    };

    // Starting points for a new mode. Each has its own random identity, made once per run.
    static const CustomMode& gamingTemplate();
    static const CustomMode& recordingTemplate();
    static const CustomMode& renderingTemplate();
    // The three above, in that order.
    static const std::vector<CustomMode>& templates();
};

void to_json(Json& j, const ModeSpeed& speed);
void from_json(const Json& j, ModeSpeed& speed);
void to_json(Json& j, const ModeSensor& sensor);
void from_json(const Json& j, ModeSensor& sensor);
// Decoding accepts data from earlier versions: a missing speed falls back to the old
// "floorPercentage", and the optional fields take their defaults when absent.
void to_json(Json& j, const CustomMode& mode);
void from_json(const Json& j, CustomMode& mode);

// The stored list. One malformed mode fails the whole list with DecodeError.
std::vector<CustomMode> decodeCustomModes(std::string_view jsonText);
// Compact JSON; throws EncodeError when a mode cannot be represented.
std::string encodeCustomModes(const std::vector<CustomMode>& modes);

} // namespace halvoren
