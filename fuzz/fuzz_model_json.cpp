// The JSON forms of the core's value types, as stored and as exchanged. The first byte picks the
// type; the rest is the JSON text. A decoder either gives a value or throws DecodeError, and a
// decoded value encodes and decodes to itself.

#include "core/alert_rules.h"
#include "core/control_source.h"
#include "core/curve_point.h"
#include "core/enum_keyed_map.h"
#include "core/fan_profile.h"
#include "core/fan_status.h"
#include "core/json_support.h"
#include "core/json_value.h"
#include "core/power_telemetry.h"
#include "core/preset_power_caps.h"
#include "core/sensor.h"
#include "core/uuid.h"
#include "fuzz_check.h"

#include <nlohmann/json.hpp>
#include <vector>

namespace {

using namespace halvoren;
using fuzz::check;

template <class T>
void roundTrip(const Json& input) {
    T value;
    try {
        value = input.get<T>();
    } catch (const DecodeError&) {
        return;
    }
    // Text came in, so every number is finite and the value encodes.
    const auto text = Json(value).dump();
    check(json::parse(text).get<T>() == value, "a decoded value encodes and decodes to itself");
}

template <class E, class V>
void mapRoundTrip(const Json& input, const EnumKeyedMap<E, V>& defaults) {
    EnumKeyedMap<E, V> entries;
    try {
        entries = decodeEnumKeyedMap<E, V>(input);
    } catch (const DecodeError&) {
        return;
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
        for (std::size_t j = i + 1; j < entries.size(); ++j) {
            check(entries[i].first != entries[j].first, "a decoded map holds each key once");
        }
    }
    const auto text = encodeEnumKeyedMap(entries).dump();
    check(decodeEnumKeyedMap<E, V>(json::parse(text)) == entries,
          "a decoded map encodes and decodes to itself");
    const auto merged = mergeOverDefaults(defaults, entries);
    for (const auto& [key, value] : defaults) {
        check(findEntry(merged, key) != nullptr, "a merge keeps every default key");
    }
    for (const auto& [key, value] : entries) {
        check(*findEntry(merged, key) == value, "a merge takes every stored value");
    }
}

void uuidText(std::string_view text) {
    const auto uuid = Uuid::parse(text);
    if (uuid) {
        check(Uuid::parse(uuid->toString()) == uuid, "a parsed identity prints and parses to itself");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const auto text = fuzz::text(data + 1, size - 1);
    const std::uint8_t selector = data[0] % 17;
    if (selector == 16) {
        uuidText(text);
        return 0;
    }
    Json input;
    try {
        input = json::parse(text);
    } catch (const DecodeError&) {
        return 0;
    }
    switch (selector) {
    case 0:
        roundTrip<AlertRule>(input);
        break;
    case 1:
        roundTrip<ControlSource>(input);
        break;
    case 2:
        roundTrip<CurvePoint>(input);
        break;
    case 3:
        roundTrip<ControlMode>(input);
        break;
    case 4:
        roundTrip<FanProfile>(input);
        break;
    case 5:
        roundTrip<FanPreset>(input);
        break;
    case 6:
        roundTrip<FanStatus>(input);
        break;
    case 7:
        roundTrip<PowerSource>(input);
        break;
    case 8:
        roundTrip<PowerTelemetry>(input);
        break;
    case 9:
        roundTrip<PresetPowerCaps>(input);
        break;
    case 10:
        roundTrip<SensorCategory>(input);
        break;
    case 11:
        roundTrip<SensorClass>(input);
        break;
    case 12:
        roundTrip<SMCSensor>(input);
        break;
    case 13:
        roundTrip<Uuid>(input);
        break;
    case 14:
        mapRoundTrip(input, defaultAlertRules());
        break;
    case 15:
        mapRoundTrip(input, defaultPresetPowerCaps());
        break;
    default:
        break;
    }
    return 0;
}
