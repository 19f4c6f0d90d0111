#include "sim/machine_profile.h"

#include "core/double_text.h"
#include "core/fan_key.h"
#include "core/four_cc.h"
#include "core/json_support.h"
#include "core/smc_codec_error.h"
#include "core/smc_data_codec.h"
#include "sim/built_in_profiles.h"

#include <cmath>
#include <fstream>
#include <initializer_list>
#include <set>
#include <sstream>

namespace halvoren {
namespace {

constexpr std::size_t maximumFans = 10; // fan keys carry one digit

[[noreturn]] void fail(const std::string& where, const std::string& why) {
    throw ProfileError(where + ": " + why);
}

// Authored data: a misspelt member is a mistake to report, not something to skip.
void onlyMembers(const Json& object, std::initializer_list<std::string_view> allowed,
                 const std::string& where) {
    if (!object.is_object()) {
        fail(where, "is not an object");
    }
    for (const auto& [member, value] : object.items()) {
        bool known = false;
        for (const auto name : allowed) {
            known = known || member == name;
        }
        if (!known) {
            fail(where, "unknown member \"" + member + "\"");
        }
    }
}

template <class F>
decltype(auto) within(const std::string& where, F&& read) {
    try {
        return read();
    } catch (const DecodeError& error) {
        fail(where, error.what());
    }
}

double number(const Json& object, std::string_view key, const std::string& where) {
    const double value = within(where, [&] { return json::requireDouble(object, key); });
    if (!std::isfinite(value)) {
        fail(where, "\"" + std::string(key) + "\" is not finite");
    }
    return value;
}

double numberOr(const Json& object, std::string_view key, double fallback, const std::string& where) {
    return object.contains(key) ? number(object, key, where) : fallback;
}

double nonNegative(const Json& object, std::string_view key, double fallback, const std::string& where) {
    const double value = numberOr(object, key, fallback, where);
    if (value < 0.0) {
        fail(where, std::string(1, '"').append(key) + "\" is negative: " + doubleText(value));
    }
    return value;
}

std::string text(const Json& object, std::string_view key, const std::string& where) {
    return within(where, [&] { return json::requireString(object, key); });
}

int count(const Json& object, std::string_view key, const std::string& where) {
    const auto value = within(where, [&] { return json::requireInt(object, key); });
    if (value < 0 || value > 1024) {
        fail(where, "\"" + std::string(key) + "\" is outside 0...1024");
    }
    return static_cast<int>(value);
}

const Json& array(const Json& object, std::string_view key, const std::string& where) {
    const Json& value = within(where, [&]() -> const Json& { return json::requireKey(object, key); });
    if (!value.is_array()) {
        fail(where, "\"" + std::string(key) + "\" is not an array");
    }
    return value;
}

std::vector<std::uint8_t> hexBytes(const std::string& hex, const std::string& where) {
    const auto digit = [&](char c) -> std::uint8_t {
        if (c >= '0' && c <= '9') {
            return static_cast<std::uint8_t>(c - '0');
        }
        if (c >= 'a' && c <= 'f') {
            return static_cast<std::uint8_t>(c - 'a' + 10);
        }
        if (c >= 'A' && c <= 'F') {
            return static_cast<std::uint8_t>(c - 'A' + 10);
        }
        fail(where, "\"bytes\" holds a character that is not a hexadecimal digit");
    };
    if (hex.size() % 2 != 0) {
        fail(where, "\"bytes\" has an odd number of hexadecimal digits");
    }
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(digit(hex[i]) << 4 | digit(hex[i + 1])));
    }
    return bytes;
}

ThermalNodeSpec parseNode(const Json& object, const std::string& where) {
    onlyMembers(object,
                {"id", "heatCapacity", "initial", "idlePower", "cpuPower", "gpuPower", "ambientConductance",
                 "airflowConductance"},
                where);
    ThermalNodeSpec node;
    node.id = text(object, "id", where);
    node.heatCapacity = number(object, "heatCapacity", where);
    if (!(node.heatCapacity > 0.0)) {
        fail(where, "\"heatCapacity\" must be above 0");
    }
    node.initialTemperature = number(object, "initial", where);
    node.idlePower = nonNegative(object, "idlePower", 0.0, where);
    node.cpuPower = nonNegative(object, "cpuPower", 0.0, where);
    node.gpuPower = nonNegative(object, "gpuPower", 0.0, where);
    node.ambientConductance = nonNegative(object, "ambientConductance", 0.0, where);
    node.airflowConductance = nonNegative(object, "airflowConductance", 0.0, where);
    return node;
}

void parseThermal(const Json& root, MachineProfile& profile) {
    ThermalSpec& thermal = profile.thermal;
    thermal.ambient = number(root, "ambient", "profile");

    std::set<std::string> ids;
    const Json& nodes = array(root, "nodes", "profile");
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        auto node = parseNode(nodes[i], "nodes[" + std::to_string(i) + "]");
        if (!ids.insert(node.id).second) {
            fail("nodes[" + std::to_string(i) + "]", "the id \"" + node.id + "\" is used twice");
        }
        thermal.nodes.push_back(std::move(node));
    }
    if (thermal.nodes.empty()) {
        fail("profile", "\"nodes\" is empty");
    }
    const auto indexOf = [&](const std::string& id, const std::string& where) {
        for (std::size_t i = 0; i < thermal.nodes.size(); ++i) {
            if (thermal.nodes[i].id == id) {
                return i;
            }
        }
        fail(where, "unknown node \"" + id + "\"");
    };

    if (root.contains("couplings")) {
        const Json& couplings = array(root, "couplings", "profile");
        for (std::size_t i = 0; i < couplings.size(); ++i) {
            const std::string where = "couplings[" + std::to_string(i) + "]";
            onlyMembers(couplings[i], {"between", "conductance"}, where);
            const Json& between = array(couplings[i], "between", where);
            if (between.size() != 2 || !between[0].is_string() || !between[1].is_string()) {
                fail(where, "\"between\" must name two nodes");
            }
            const auto first = indexOf(between[0].get<std::string>(), where);
            const auto second = indexOf(between[1].get<std::string>(), where);
            if (first == second) {
                fail(where, "couples a node to itself");
            }
            const double conductance = number(couplings[i], "conductance", where);
            if (!(conductance > 0.0)) {
                fail(where, "\"conductance\" must be above 0");
            }
            thermal.couplings.push_back({first, second, conductance});
        }
    }

    // Explicit integration is stable only while a step moves a node by well under its
    // distance from its neighbours; refuse a profile that would oscillate.
    for (std::size_t i = 0; i < thermal.nodes.size(); ++i) {
        const auto& node = thermal.nodes[i];
        double conductance = node.ambientConductance + node.airflowConductance;
        for (const auto& coupling : thermal.couplings) {
            if (coupling.first == i || coupling.second == i) {
                conductance += coupling.conductance;
            }
        }
        if (ThermalModel::stepSeconds * conductance / node.heatCapacity > 0.25) {
            fail("nodes[" + std::to_string(i) + "]",
                 "\"heatCapacity\" is too small for its conductances to integrate stably");
        }
    }

    if (root.contains("fans")) {
        const Json& fans = array(root, "fans", "profile");
        if (fans.size() > maximumFans) {
            fail("profile", "more than " + std::to_string(maximumFans) + " fans");
        }
        for (std::size_t i = 0; i < fans.size(); ++i) {
            const std::string where = "fans[" + std::to_string(i) + "]";
            onlyMembers(fans[i], {"minimum", "maximum", "spinRate"}, where);
            FanSpec fan{number(fans[i], "minimum", where), number(fans[i], "maximum", where),
                        number(fans[i], "spinRate", where)};
            if (fan.minimum < 0.0 || fan.minimum > fan.maximum || !(fan.maximum > 0.0)) {
                fail(where, "needs 0 <= minimum <= maximum and a maximum above 0");
            }
            if (!(fan.spinRate > 0.0)) {
                fail(where, "\"spinRate\" must be above 0");
            }
            thermal.fans.push_back(fan);
        }
    }

    if (root.contains("firmware")) {
        const Json& object = root["firmware"];
        onlyMembers(object, {"start", "full", "hysteresis", "stopsWhenCool", "releaseDelay"}, "firmware");
        auto& curve = thermal.firmware;
        curve.start = number(object, "start", "firmware");
        curve.full = number(object, "full", "firmware");
        curve.hysteresis = nonNegative(object, "hysteresis", 0.0, "firmware");
        curve.releaseDelay = nonNegative(object, "releaseDelay", curve.releaseDelay, "firmware");
        curve.stopsWhenCool = object.contains("stopsWhenCool") &&
                              within("firmware", [&] { return json::requireBool(object, "stopsWhenCool"); });
        if (!(curve.full > curve.start)) {
            fail("firmware", R"("full" must be above "start")");
        }
    } else if (!thermal.fans.empty()) {
        fail("profile", "a machine with fans needs \"firmware\"");
    }

    if (root.contains("throttle")) {
        const Json& object = root["throttle"];
        onlyMembers(object, {"start", "span", "floor"}, "throttle");
        ThrottleSpec throttle{number(object, "start", "throttle"), number(object, "span", "throttle"),
                              number(object, "floor", "throttle")};
        if (!(throttle.span > 0.0) || throttle.floor < 0.0 || throttle.floor > 1.0) {
            fail("throttle", "needs a span above 0 and a floor in 0...1");
        }
        thermal.throttle = throttle;
    }
}

KeySource::Any parseSource(const Json& object, const MachineProfile& profile, const std::string& where) {
    const std::string kind = text(object, "kind", where);
    const auto fanIndex = [&] {
        const int fan = count(object, "fan", where);
        if (static_cast<std::size_t>(fan) >= profile.thermal.fans.size()) {
            fail(where, "fan " + std::to_string(fan) + " does not exist");
        }
        return static_cast<std::size_t>(fan);
    };
    if (kind == "sensor") {
        onlyMembers(object, {"kind", "node", "offset", "gain", "noise"}, where);
        const std::string node = text(object, "node", where);
        KeySource::Sensor sensor;
        bool found = false;
        for (std::size_t i = 0; i < profile.thermal.nodes.size(); ++i) {
            if (profile.thermal.nodes[i].id == node) {
                sensor.node = i;
                found = true;
            }
        }
        if (!found) {
            fail(where, "unknown node \"" + node + "\"");
        }
        sensor.offset = numberOr(object, "offset", 0.0, where);
        sensor.gain = numberOr(object, "gain", 1.0, where);
        sensor.noise = nonNegative(object, "noise", 0.0, where);
        return sensor;
    }
    if (kind == "load") {
        onlyMembers(object, {"kind", "base", "cpu", "gpu", "noise"}, where);
        return KeySource::LoadLinear{numberOr(object, "base", 0.0, where),
                                     numberOr(object, "cpu", 0.0, where), numberOr(object, "gpu", 0.0, where),
                                     nonNegative(object, "noise", 0.0, where)};
    }
    if (kind == "fan") {
        onlyMembers(object, {"kind", "fan", "field"}, where);
        const std::string field = text(object, "field", where);
        static constexpr std::pair<std::string_view, KeySource::FanField> fields[] = {
            {"actual", KeySource::FanField::actual},   {"minimum", KeySource::FanField::minimum},
            {"maximum", KeySource::FanField::maximum}, {"target", KeySource::FanField::target},
            {"mode", KeySource::FanField::mode},
        };
        for (const auto& [name, value] : fields) {
            if (field == name) {
                return KeySource::Fan{fanIndex(), value};
            }
        }
        fail(where, "unknown fan field \"" + field + "\"");
    }
    onlyMembers(object, {"kind"}, where);
    if (kind == "keyCount") {
        return KeySource::KeyCount{};
    }
    if (kind == "fanCount") {
        return KeySource::FanCount{};
    }
    if (kind == "fanTest") {
        return KeySource::FanTest{};
    }
    fail(where, "unknown source kind \"" + kind + "\"");
}

ProfileKey parseKey(const Json& object, const MachineProfile& profile, const std::string& index) {
    std::string where = "keys[" + index + "]";
    onlyMembers(object, {"key", "type", "size", "value", "bytes", "source"}, where);
    ProfileKey key;
    key.name = text(object, "key", where);
    if (!FourCC::isKey(key.name)) {
        fail(where, "\"key\" must be four bytes of UTF-8");
    }
    where += " \"" + key.name + "\"";
    key.code = FourCC::code(key.name);

    // Written without the trailing blanks of codes such as "flt ", and shown so in messages.
    const std::string type = text(object, "type", where);
    std::string code = type;
    if (type.empty() || type.size() > 4) {
        fail(where, "\"type\" must be one to four characters");
    }
    code.resize(4, ' ');
    if (!FourCC::isKey(code)) {
        fail(where, "\"type\" must be UTF-8");
    }
    key.typeCode = FourCC::code(code);

    const int size = count(object, "size", where);
    if (size < 1 || size > 32) {
        fail(where, "\"size\" must be 1...32");
    }
    key.size = static_cast<std::uint32_t>(size);
    const auto width = key.type().byteCount();
    if (width && *width != size) {
        fail(where,
             "a " + type + " value has " + std::to_string(*width) + " bytes, not " + std::to_string(size));
    }

    key.source = object.contains("source") ? parseSource(object["source"], profile, where + " source")
                                           : KeySource::Any{KeySource::Constant{}};
    const bool holdsBytes = std::holds_alternative<KeySource::Constant>(key.source) ||
                            std::holds_alternative<KeySource::FanTest>(key.source);
    const bool hasValue = object.contains("value");
    const bool hasBytes = object.contains("bytes");
    if (!holdsBytes) {
        if (hasValue || hasBytes) {
            fail(where, R"(a key that follows the model takes no "value" or "bytes")");
        }
        if (!width) {
            fail(where, "a key that follows the model needs a type the codec converts, not " + type);
        }
        return key;
    }
    if (hasValue == hasBytes) {
        fail(where, R"(needs exactly one of "value" and "bytes")");
    }
    if (hasBytes) {
        key.initialBytes = hexBytes(text(object, "bytes", where), where);
        if (key.initialBytes.size() != key.size) {
            fail(where, "\"bytes\" holds " + std::to_string(key.initialBytes.size()) + " bytes, not " +
                            std::to_string(size));
        }
        return key;
    }
    const double value = number(object, "value", where);
    try {
        key.initialBytes = SMCDataCodec::encode(value, key.type());
    } catch (const SMCCodecError& error) {
        fail(where,
             "\"value\" " + doubleText(value) + " cannot be written as " + type + ": " + error.description());
    }
    return key;
}

MachineProfile parseRoot(const Json& root) {
    onlyMembers(root,
                {"name", "description", "coreCounts", "ambient", "nodes", "couplings", "fans", "firmware",
                 "throttle", "keys"},
                "profile");
    MachineProfile profile;
    profile.name = text(root, "name", "profile");
    if (profile.name.empty()) {
        fail("profile", "\"name\" is empty");
    }
    if (root.contains("description")) {
        profile.description = text(root, "description", "profile");
    }
    const Json& counts =
        within("profile", [&]() -> const Json& { return json::requireKey(root, "coreCounts"); });
    onlyMembers(counts, {"performance", "efficiency"}, "coreCounts");
    profile.coreCounts = {count(counts, "performance", "coreCounts"),
                          count(counts, "efficiency", "coreCounts")};

    parseThermal(root, profile);

    std::set<std::string> names;
    const Json& keys = array(root, "keys", "profile");
    for (std::size_t i = 0; i < keys.size(); ++i) {
        auto key = parseKey(keys[i], profile, std::to_string(i));
        const std::string where = "keys[" + std::to_string(i) + "] \"" + key.name + "\"";
        if (!names.insert(key.name).second) {
            fail(where, "the key is listed twice");
        }
        if (key.name == "#KEY" && !std::holds_alternative<KeySource::KeyCount>(key.source)) {
            fail(where, "must count the keys (source kind \"keyCount\")");
        }
        if (key.name == FanKey::fanCount && !std::holds_alternative<KeySource::FanCount>(key.source)) {
            fail(where, "must count the fans (source kind \"fanCount\")");
        }
        profile.keys.push_back(std::move(key));
    }
    return profile;
}

} // namespace

bool ProfileKey::writable() const {
    if (std::holds_alternative<KeySource::FanTest>(source)) {
        return true;
    }
    const auto* fan = std::get_if<KeySource::Fan>(&source);
    return fan && (fan->field == KeySource::FanField::target || fan->field == KeySource::FanField::mode);
}

const ProfileKey* MachineProfile::key(std::string_view name) const {
    for (const auto& key : keys) {
        if (key.name == name) {
            return &key;
        }
    }
    return nullptr;
}

MachineProfile MachineProfile::parse(std::string_view text) {
    Json root;
    try {
        root = Json::parse(text);
    } catch (const Json::exception& error) {
        // nlohmann's own parser, for the line and column of the fault; drop its exception tag.
        // A number too large for a double is its out_of_range, not a parse_error.
        std::string message = error.what();
        if (const auto tag = message.find("] ");
            message.starts_with("[json.exception") && tag != std::string::npos) {
            message.erase(0, tag + 2);
        }
        throw ProfileError("not valid JSON: " + message);
    }
    return parseRoot(root);
}

MachineProfile MachineProfile::load(const std::filesystem::path& path) {
    std::error_code error;
    std::ifstream file(path, std::ios::binary);
    if (!file || std::filesystem::is_directory(path, error)) {
        throw ProfileError(path.string() + ": cannot be read");
    }
    std::stringstream content;
    content << file.rdbuf();
    if (file.bad()) {
        throw ProfileError(path.string() + ": cannot be read");
    }
    try {
        return parse(content.str());
    } catch (const ProfileError& error) {
        throw ProfileError(path.string() + ": " + error.what());
    }
}

std::optional<MachineProfile> MachineProfile::builtIn(std::string_view name) {
    for (const auto& embedded : builtInProfileTexts()) {
        if (embedded.name == name) {
            return parse(embedded.text);
        }
    }
    return std::nullopt;
}

std::vector<std::string> MachineProfile::builtInNames() {
    std::vector<std::string> names;
    for (const auto& embedded : builtInProfileTexts()) {
        names.emplace_back(embedded.name);
    }
    return names;
}

MachineProfile MachineProfile::named(const std::string& nameOrPath) {
    if (auto profile = builtIn(nameOrPath)) {
        return *profile;
    }
    std::error_code error;
    if (std::filesystem::exists(nameOrPath, error)) {
        return load(nameOrPath);
    }
    std::string names;
    for (const auto& name : builtInNames()) {
        names += (names.empty() ? "" : ", ") + name;
    }
    throw ProfileError("unknown simulated machine \"" + nameOrPath + "\" (built in: " + names + ")");
}

} // namespace halvoren
