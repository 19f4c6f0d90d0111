#include "core/custom_mode.h"

#include "core/clamp.h"
#include "core/json_support.h"

#include <nlohmann/json.hpp>

namespace halvoren {
namespace {

constexpr const char* invalidKeyCount = "Invalid number of keys found, expected one.";

// The value under `key`, or null when the key is absent or holds null: the lenient
// keys of a mode treat both alike.
const Json* presentValue(const Json& object, std::string_view key) {
    const auto it = object.find(key);
    if (it == object.end() || it->is_null()) {
        return nullptr;
    }
    return &*it;
}

// An enumeration with a payload is an object whose single case key holds the payload.
// Keys that name no case are ignored like any unknown key, so an object naming no
// case, or more than one, fails.
std::pair<std::string_view, const Json*> singleCase(const Json& j, std::string_view what,
                                                    std::initializer_list<std::string_view> cases) {
    json::requireObject(j, what);
    std::pair<std::string_view, const Json*> found{{}, nullptr};
    std::size_t count = 0;
    for (const auto name : cases) {
        const auto it = j.find(name);
        if (it != j.end()) {
            found = {name, &*it};
            ++count;
        }
    }
    if (count != 1) {
        throw DecodeError(invalidKeyCount);
    }
    json::requireObject(*found.second, found.first);
    return found;
}

ModeSpeed clampedSpeed(const ModeSpeed& speed) {
    const double p = clampUnit(speed.percentage());
    return speed.kind() == ModeSpeed::Kind::floor ? ModeSpeed::floor(p) : ModeSpeed::fixed(p);
}

} // namespace

std::string_view ModeSpeed::displayName() const {
    switch (kind_) {
    case Kind::floor:
        return "Minimum";
    case Kind::fixed:
        return "Fixed";
    }
    return {};
}

std::optional<ControlSource> ModeSensor::controlSource() const {
    if (const auto* source = std::get_if<ControlSource>(&value_)) {
        return *source;
    }
    return std::nullopt;
}

std::optional<std::string> ModeSensor::sensorID() const {
    if (const auto* id = std::get_if<std::string>(&value_)) {
        return *id;
    }
    return std::nullopt;
}

CustomMode::CustomMode(Uuid id, std::string name, std::string symbolName, ModeSpeed speed,
                       ModeSensor controlSensor, std::optional<ModeSensor> displaySensor,
                       bool drivesMainReadout)
    : id(id)
    , name(std::move(name))
    , symbolName(std::move(symbolName))
    , speed(clampedSpeed(speed))
    , controlSensor(std::move(controlSensor))
    , displaySensor(std::move(displaySensor))
    , drivesMainReadout(drivesMainReadout) {}

const CustomMode& CustomMode::gamingTemplate() {
    static const CustomMode mode{Uuid::random(), "Gaming", "gamecontroller.fill", ModeSpeed::fixed(0.7),
                                 ModeSensor::source(ControlSource::gpuAverage)};
    return mode;
}

const CustomMode& CustomMode::recordingTemplate() {
    static const CustomMode mode{Uuid::random(), "Recording", "mic.fill", ModeSpeed::floor(0.25),
                                 ModeSensor::source(ControlSource::hottest)};
    return mode;
}

const CustomMode& CustomMode::renderingTemplate() {
    static const CustomMode mode{Uuid::random(), "Rendering", "cube.fill", ModeSpeed::floor(0.8),
                                 ModeSensor::source(ControlSource::cpuPerformance)};
    return mode;
}

const std::vector<CustomMode>& CustomMode::templates() {
    static const std::vector<CustomMode> all{gamingTemplate(), recordingTemplate(), renderingTemplate()};
    return all;
}

void to_json(Json& j, const ModeSpeed& speed) {
    const char* key = speed.kind() == ModeSpeed::Kind::floor ? "floor" : "fixed";
    j = Json{{key, {{"percentage", json::finite(speed.percentage())}}}};
}

void from_json(const Json& j, ModeSpeed& speed) {
    const auto [kind, payload] = singleCase(j, "speed", {"floor", "fixed"});
    const double percentage = json::requireDouble(*payload, "percentage");
    speed = kind == "floor" ? ModeSpeed::floor(percentage) : ModeSpeed::fixed(percentage);
}

void to_json(Json& j, const ModeSensor& sensor) {
    if (const auto source = sensor.controlSource()) {
        j = Json{{"source", {{"_0", *source}}}};
    } else {
        j = Json{{"sensor", {{"id", *sensor.sensorID()}}}};
    }
}

void from_json(const Json& j, ModeSensor& sensor) {
    const auto [kind, payload] = singleCase(j, "sensor", {"source", "sensor"});
    if (kind == "source") {
        sensor =
            ModeSensor::source(json::enumFromJson<ControlSource>(json::requireKey(*payload, "_0"), "_0"));
    } else {
        sensor = ModeSensor::sensor(json::requireString(*payload, "id"));
    }
}

void to_json(Json& j, const CustomMode& mode) {
    j = Json{{"id", mode.id},
             {"name", mode.name},
             {"symbolName", mode.symbolName},
             {"speed", mode.speed},
             {"controlSensor", mode.controlSensor},
             {"drivesMainReadout", mode.drivesMainReadout}};
    if (mode.displaySensor) {
        j["displaySensor"] = *mode.displaySensor;
    }
}

void from_json(const Json& j, CustomMode& mode) {
    json::requireObject(j, "custom mode");
    auto id = json::requireKey(j, "id").get<Uuid>();
    auto name = json::requireString(j, "name");
    auto symbolName = json::requireString(j, "symbolName");

    // Modes saved before fixed speeds existed stored only a floor, as a bare number.
    const auto* speedValue = presentValue(j, "speed");
    const auto speed = speedValue ? speedValue->get<ModeSpeed>()
                                  : ModeSpeed::floor(json::requireDouble(j, "floorPercentage"));

    const auto* controlValue = presentValue(j, "controlSensor");
    auto controlSensor =
        controlValue ? controlValue->get<ModeSensor>() : ModeSensor::source(ControlSource::hottest);

    std::optional<ModeSensor> displaySensor;
    if (const auto* displayValue = presentValue(j, "displaySensor")) {
        displaySensor = displayValue->get<ModeSensor>();
    }

    const auto* readoutValue = presentValue(j, "drivesMainReadout");
    const bool drivesMainReadout = readoutValue ? json::asBool(*readoutValue, "drivesMainReadout") : false;

    // The constructor clamps the percentage, so out-of-range stored values load in range.
    mode = CustomMode{id,
                      std::move(name),
                      std::move(symbolName),
                      speed,
                      std::move(controlSensor),
                      std::move(displaySensor),
                      drivesMainReadout};
}

std::vector<CustomMode> decodeCustomModes(std::string_view jsonText) {
    const auto list = json::parse(jsonText);
    if (!list.is_array()) {
        throw DecodeError("expected an array of custom modes");
    }
    std::vector<CustomMode> modes;
    modes.reserve(list.size());
    for (const auto& element : list) {
        modes.push_back(element.get<CustomMode>());
    }
    return modes;
}

std::string encodeCustomModes(const std::vector<CustomMode>& modes) {
    const Json list = modes;
    try {
        return list.dump();
    } catch (const Json::type_error&) {
        // A name that is not valid UTF-8 cannot be written as JSON text.
        throw EncodeError("custom mode text is not valid UTF-8");
    }
}

} // namespace halvoren
