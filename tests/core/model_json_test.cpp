#include "core/alert_rule.h"
#include "core/control_source.h"
#include "core/curve_point.h"
#include "core/custom_mode.h"
#include "core/fan_profile.h"
#include "core/fan_status.h"
#include "core/json_support.h"
#include "core/power_telemetry.h"
#include "core/sensor.h"
#include "core/uuid.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace halvoren {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

// Through text and back, as a value is stored and loaded.
template <class T>
T roundTrip(const T& value) {
    return json::parse(Json(value).dump()).template get<T>();
}

// A value of another JSON kind than `value`, so a decoder that checks types must refuse it.
Json otherKind(const Json& value) {
    if (value.is_string()) {
        return 1;
    }
    if (value.is_number()) {
        return value.dump(); // 2 becomes "2"
    }
    if (value.is_boolean()) {
        return value.get<bool>() ? 1 : 0;
    }
    if (value.is_array()) {
        return Json::object();
    }
    return Json::array();
}

// Every key of a stored example is required, null is never a value, and every key checks its type. The
// examples hold exactly the keys their encoders write (checked below), so none is left out here.
template <class T>
void expectStrictKeys(const Json& valid) {
    ASSERT_NO_THROW((void)valid.get<T>());
    for (const auto& [key, value] : valid.items()) {
        Json missing = valid;
        missing.erase(key);
        EXPECT_THROW((void)missing.get<T>(), DecodeError) << "without " << key;
        Json null = valid;
        null[key] = nullptr;
        EXPECT_THROW((void)null.get<T>(), DecodeError) << key << " null";
        Json wrong = valid;
        wrong[key] = otherKind(value);
        EXPECT_THROW((void)wrong.get<T>(), DecodeError) << key << " as " << wrong[key].dump();
    }
    for (const Json& notObject : {Json(nullptr), Json::array(), Json("x"), Json(1)}) {
        EXPECT_THROW((void)notObject.get<T>(), DecodeError) << notObject.dump();
    }
    Json extra = valid;
    extra["unknownKey"] = {{"nested", {1, 2, 3}}};
    EXPECT_EQ(extra.get<T>(), valid.get<T>());
}

// The example with each listed key set to its bad value must not decode.
template <class T>
void expectRejected(const Json& valid, std::initializer_list<std::pair<const char*, Json>> cases) {
    for (const auto& [key, bad] : cases) {
        Json broken = valid;
        broken[key] = bad;
        EXPECT_THROW((void)broken.get<T>(), DecodeError) << key << ": " << bad.dump();
    }
}

// Each listed Double field, made non-finite, must refuse to encode rather than turn into null.
template <class T>
void expectNonFiniteRefused(const T& valid, std::initializer_list<double T::*> fields) {
    for (const auto field : fields) {
        for (const double bad : {nan, inf, -inf}) {
            T value = valid;
            value.*field = bad;
            EXPECT_THROW((void)Json(value), EncodeError);
        }
    }
}

// NOLINTBEGIN(cert-err58-cpp): fixed texts that parse, read by every test below
const Json pointJson = json::parse(R"({"id":"6BA7B810-9DAD-11D1-80B4-00C04FD430C8",
                                       "temperature":55.5,"rpmPercentage":0.35})");

Json profileJson() {
    return json::parse(R"({"id":"00000000-0000-0000-0000-0000000000AB","name":"Desk",
        "mode":2,"constantTargetRPM":0,"targetSensorGroupID":"max",
        "curvePoints":[{"id":"6BA7B810-9DAD-11D1-80B4-00C04FD430C8","temperature":40,"rpmPercentage":0},
                       {"id":"6BA7B811-9DAD-11D1-80B4-00C04FD430C8","temperature":80,"rpmPercentage":1}]})");
}

const Json fanJson = json::parse(R"({"id":1,"currentRPM":2317.5,"minRPM":1200,"maxRPM":6550,
                                     "targetRPM":2400,"isManaged":true})");

const Json sensorJson = json::parse(R"({"id":"smc.Tp09","key":"Tp09","name":"CPU Performance Core 1",
    "category":"cpu","currentTemp":61.25,"sensorClass":"temperature","unit":"°C"})");

const Json ruleJson = json::parse(R"({"enabled":true,"thresholdCelsius":92.5,"autoBoost":false})");

const Json powerJson = json::parse(R"({"source":"battery","systemWatts":14.2,"isCharging":false,
                                       "isClamshell":true,"batteryWattHours":52.6})");
// NOLINTEND(cert-err58-cpp)

TEST(ModelJson, EveryKeyIsRequiredAndTyped) {
    expectStrictKeys<CurvePoint>(pointJson);
    expectStrictKeys<FanProfile>(profileJson());
    expectStrictKeys<FanStatus>(fanJson);
    expectStrictKeys<SMCSensor>(sensorJson);
    expectStrictKeys<AlertRule>(ruleJson);
    expectStrictKeys<PowerTelemetry>(powerJson);
}

// Each stored example decodes to its value and encodes back to the same text: keys in declaration order and
// whole numbers without a fraction, as the platform's encoder writes them.
template <class T>
void expectStoredForm(const Json& stored, const T& value) {
    EXPECT_EQ(stored.get<T>(), value);
    EXPECT_EQ(Json(value).dump(), stored.dump());
}

TEST(ModelJson, StoredExamplesDecodeToTheirValuesAndEncodeBackAsTheyWere) {
    const auto pointID = [](int n) {
        return Uuid::fromLiteral("6ba7b81" + std::to_string(n) + "-9dad-11d1-80b4-00c04fd430c8");
    };
    expectStoredForm(pointJson, CurvePoint{pointID(0), 55.5, 0.35});
    const std::vector<CurvePoint> deskCurve{{pointID(0), 40, 0}, {pointID(1), 80, 1}};
    expectStoredForm(profileJson(), FanProfile{Uuid::fromLiteral("00000000-0000-0000-0000-0000000000ab"),
                                               "Desk", ControlMode::adaptiveCurve, 0, "max", deskCurve});
    expectStoredForm(fanJson, FanStatus{1, 2317.5, 1200, 6550, 2400, true, true});
    expectStoredForm(sensorJson, SMCSensor{"smc.Tp09", "Tp09", "CPU Performance Core 1", SensorCategory::cpu,
                                           61.25, SensorClass::temperature, "°C"});
    expectStoredForm(ruleJson, AlertRule{true, 92.5, false});
    expectStoredForm(powerJson, PowerTelemetry{PowerSource::battery, 14.2, false, true, 52.6});
    EXPECT_EQ(
        Json(PowerTelemetry{PowerSource::ac, 14.0, false, true, -0.0}).dump(),
        R"({"source":"ac","systemWatts":14,"isCharging":false,"isClamshell":true,"batteryWattHours":-0.0})");
    EXPECT_EQ(Json(ControlMode::constantRPM), 1);
    EXPECT_EQ(json::finite(9007199254740992.0).dump(), "9007199254740992");
    EXPECT_EQ(json::finite(9007199254740994.0).dump(), "9.007199254740994e+15");
}

// Values of the right JSON kind that are still not values of the field (wrong kinds are tried above).
TEST(ModelJson, RejectsValuesOutsideTheirTypeAndTakesIntegersToTheirEdges) {
    // One bad point fails the whole profile.
    const Json profile = profileJson();
    expectRejected<FanProfile>(profile, {{"mode", 3},
                                         {"mode", -1},
                                         {"mode", 1.5},
                                         {"mode", "adaptiveCurve"},
                                         {"constantTargetRPM", 1.5},
                                         {"constantTargetRPM", true},
                                         {"constantTargetRPM", 9223372036854775808ULL},
                                         {"constantTargetRPM", 1e19},
                                         {"id", "00000000-0000-0000-0000-0000000000A"},
                                         {"curvePoints", Json::array({pointJson, 1})},
                                         {"curvePoints", Json::array({Json::object()})}});
    expectRejected<CurvePoint>(pointJson, {{"rpmPercentage", false}});
    expectRejected<FanStatus>(
        fanJson, {{"isManaged", "true"}, {"id", 1.5}, {"id", 2147483648LL}, {"id", -2147483649LL}});
    expectRejected<SMCSensor>(sensorJson, {{"category", "CPU"},
                                           {"category", "ane"},
                                           {"sensorClass", "heat"},
                                           {"sensorClass", "Temperature"},
                                           {"sensorClass", ""}});
    expectRejected<PowerTelemetry>(powerJson, {{"source", "AC"}, {"source", "mains"}});
    expectRejected<AlertRule>(ruleJson, {{"autoBoost", "false"}});
    EXPECT_THROW((void)Json("balanced").get<FanPreset>(), DecodeError);
    EXPECT_THROW((void)Json(0).get<FanPreset>(), DecodeError);
    EXPECT_THROW((void)Json("fanSpeed").get<ControlSource>(), DecodeError);

    Json edges = profile;
    Json fan = fanJson;
    for (const auto limit :
         {std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()}) {
        edges["constantTargetRPM"] = limit;
        EXPECT_EQ(edges.get<FanProfile>().constantTargetRPM, limit);
        const auto intLimit = limit > 0 ? std::numeric_limits<int>::max() : std::numeric_limits<int>::min();
        fan["id"] = intLimit;
        EXPECT_EQ(fan.get<FanStatus>().id, intLimit);
    }
}

TEST(ModelJson, ProfilesRoundTripAsGivenAndTheUnlimitedSpeedStaysAnInteger) {
    // Points are held as given, even outside the unit range.
    FanProfile curve = FanProfile::halvorenStandard();
    curve.name = "Edge \"quoted\" ✓";
    curve.curvePoints = {CurvePoint::make(-12.5, -0.2), CurvePoint::make(0.1 + 0.2, 1.7),
                         CurvePoint::make(1e-300, 0.333333333333333315)};
    EXPECT_EQ(roundTrip(curve), curve);
    EXPECT_EQ(Json(FanProfile::maxThermalBlast())["constantTargetRPM"].dump(), "9223372036854775807");
}

TEST(ModelJson, NonFiniteNumbersRefuseToEncode) {
    expectNonFiniteRefused(CurvePoint{}, {&CurvePoint::temperature, &CurvePoint::rpmPercentage});
    expectNonFiniteRefused(
        FanStatus{}, {&FanStatus::currentRPM, &FanStatus::minRPM, &FanStatus::maxRPM, &FanStatus::targetRPM});
    expectNonFiniteRefused(SMCSensor{}, {&SMCSensor::currentTemp});
    expectNonFiniteRefused(AlertRule{}, {&AlertRule::thresholdCelsius});
    expectNonFiniteRefused(PowerTelemetry{},
                           {&PowerTelemetry::systemWatts, &PowerTelemetry::batteryWattHours});

    FanProfile profile = FanProfile::halvorenStandard();
    profile.curvePoints[2].rpmPercentage = nan;
    EXPECT_THROW((void)Json(profile), EncodeError);
}

TEST(ModelJson, MalformedTextIsADecodeError) {
    for (const char* text : {"", "{", R"({"a":1,})", "{} x", "NaN", R"({"a":1e400})"}) {
        EXPECT_THROW((void)json::parse(text), DecodeError) << text;
    }
}

std::string canonical() {
    return "00112233-4455-6677-8899-AABBCCDDEEFF";
}

TEST(Uuid, ParsesEitherCasePrintsUpperCaseAndOrdersByBytes) {
    const std::array<std::uint8_t, 16> bytes{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                                             0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
    for (const char* text :
         {"00112233-4455-6677-8899-aabbccddeeff", "00112233-4455-6677-8899-aAbBcCdDeEfF"}) {
        const auto parsed = Uuid::parse(text);
        ASSERT_TRUE(parsed) << text;
        EXPECT_EQ(parsed->bytes(), bytes);
        EXPECT_EQ(parsed->toString(), canonical());
    }
    EXPECT_TRUE(Uuid{}.isNil());
    EXPECT_EQ(Uuid{}.toString(), "00000000-0000-0000-0000-000000000000");
    EXPECT_FALSE(Uuid::fromLiteral("00000000-0000-0000-0000-000000000001").isNil());
    EXPECT_LT(Uuid::fromLiteral("00000000-0000-0000-0000-0000000000FF"),
              Uuid::fromLiteral("01000000-0000-0000-0000-000000000000"));
    EXPECT_DEATH(Uuid::fromLiteral("00000000-0000-0000-0000-00000000000"), "");
}

TEST(Uuid, RejectsAnythingButTheCanonicalForm) {
    for (const std::string& bad : std::initializer_list<std::string>{
             "",
             canonical() + "0",                            // 37 characters
             "00112233445566778899AABBCCDDEEFF",           // no dashes
             "0011223-34455-6677-8899-AABBCCDDEEFF",       // first dash one early
             "00112233-4455-6677-88994AABBCCDDEE-F",       // last dash moved near the end
             "00112233-4455-6677-8899-AABBCCDDEEF-",       // dash where a digit belongs
             "00112233-4455-6677-8899-AABBCCDDEEFG",       // not a hex digit
             "+0112233-4455-6677-8899-AABBCCDDEEFF",       // sign
             "00112233-4455-6677-8899-AABBCCDDEE\xC3\xA9", // two bytes of a non-ASCII letter
         }) {
        EXPECT_FALSE(Uuid::parse(bad)) << bad;
    }
}

TEST(Uuid, RandomIsVersionFourWithTheStandardVariantAndHashesApart) {
    std::unordered_set<Uuid> seen{*Uuid::parse(canonical()),
                                  *Uuid::parse("00112233-4455-6677-8899-aabbccddeeff")};
    EXPECT_EQ(seen.size(), 1U); // equal values hash alike
    std::set<std::size_t> hashes;
    for (int i = 0; i < 2000; ++i) {
        const Uuid uuid = Uuid::random();
        const std::string text = uuid.toString();
        EXPECT_EQ(text[14], '4');
        EXPECT_NE(std::string("89AB").find(text[19]), std::string::npos) << text;
        EXPECT_EQ(Uuid::parse(text), uuid);
        seen.insert(uuid);
        hashes.insert(std::hash<Uuid>{}(uuid));
    }
    EXPECT_EQ(seen.size(), 2001U);
    EXPECT_EQ(hashes.size(), 2000U); // a constant or byte-blind hash collides here
}

Uuid modeID() {
    return Uuid::fromLiteral("11111111-2222-3333-4444-555555555555");
}
constexpr std::string_view invalidKeyCount = "Invalid number of keys found, expected one.";

// The message of the DecodeError raised by decoding `text` as T, or "" when none is raised.
template <class T>
std::string decodeFailure(const std::string& text) {
    try {
        (void)json::parse(text).get<T>();
    } catch (const DecodeError& error) {
        return error.what();
    }
    return "";
}

// A stored list holding one mode with these fields besides its id, name and symbol.
std::string listWith(const std::string& fields) {
    return R"([{"id":"11111111-2222-3333-4444-555555555555","name":"A","symbolName":"x")" +
           std::string(fields.empty() ? "" : ",") + fields + "}]";
}

TEST(ModeCaseObjects, EncodeAsOneCaseKeyAndDecodeOnlyFromExactlyOne) {
    EXPECT_EQ(Json(ModeSpeed::fixed(0.7)).dump(), R"({"fixed":{"percentage":0.7}})");
    EXPECT_EQ(Json(ModeSensor::source(ControlSource::gpuAverage)).dump(),
              R"({"source":{"_0":"gpuAverage"}})");
    EXPECT_EQ(Json(ModeSensor::sensor("TB0T")).dump(), R"({"sensor":{"id":"TB0T"}})");
    EXPECT_EQ(Json::parse(R"({"fixed":{"percentage":1},"note":1})").get<ModeSpeed>(), ModeSpeed::fixed(1.0));
    // An id that happens to spell a source's raw text is still a different sensor.
    EXPECT_NE(ModeSensor::sensor("hottest"), ModeSensor::source(ControlSource::hottest));

    for (const char* text : {R"({"fixed":{"percentage":0.5},"floor":{"percentage":0.5}})", "{}",
                             R"({"bogus":{"percentage":0.5}})"}) {
        EXPECT_EQ(decodeFailure<ModeSpeed>(text), invalidKeyCount) << text;
    }
    EXPECT_EQ(decodeFailure<ModeSensor>(R"({"source":{"_0":"hottest"},"sensor":{"id":"TB0T"}})"),
              invalidKeyCount);
    // Malformed payloads fail with their own messages.
    for (const char* text : {R"("fixed")", R"({"fixed":0.5})", R"({"fixed":{}})",
                             R"({"fixed":{"percentage":"0.5"}})", R"({"fixed":null})"}) {
        const auto failure = decodeFailure<ModeSpeed>(text);
        EXPECT_FALSE(failure.empty()) << text;
        EXPECT_NE(failure, invalidKeyCount) << text;
    }
    for (const char* text : {R"({"source":{"_0":"coolest"}})", R"({"source":{"_0":4}})",
                             R"({"source":"hottest"})", R"({"sensor":{"id":7}})", R"({"sensor":{}})"}) {
        EXPECT_FALSE(decodeFailure<ModeSensor>(text).empty()) << text;
    }
}

TEST(CustomMode, SpeedsAreClampedKeepingTheirCaseAndNaNIsRefusedOnWrite) {
    EXPECT_EQ(CustomMode(modeID(), "A", "x", ModeSpeed::fixed(1.5), ModeSensor{}).speed,
              ModeSpeed::fixed(1.0));
    EXPECT_EQ(CustomMode(modeID(), "A", "x", ModeSpeed::floor(-0.2), ModeSensor{}).speed,
              ModeSpeed::floor(0.0));
    const CustomMode inside{modeID(), "A", "x", ModeSpeed::floor(0.3), ModeSensor{}};
    const CustomMode nan{modeID(), "A", "x", ModeSpeed::fixed(std::nan("")), ModeSensor{}};
    EXPECT_TRUE(std::isnan(nan.speed.percentage()));
    EXPECT_EQ(nan.speed.kind(), ModeSpeed::Kind::fixed);
    EXPECT_THROW(encodeCustomModes({inside, nan}), EncodeError);
    CustomMode badText = inside;
    badText.name = "\xff\xfe";
    EXPECT_THROW(encodeCustomModes({badText}), EncodeError);

    // Stored percentages outside the range load clamped too.
    EXPECT_EQ(decodeCustomModes(listWith(R"("speed":{"fixed":{"percentage":1.5}})"))[0].speed,
              ModeSpeed::fixed(1.0));
    EXPECT_EQ(decodeCustomModes(listWith(R"("floorPercentage":3)"))[0].speed, ModeSpeed::floor(1.0));
}

TEST(CustomMode, OlderDataLoadsLenientlyAndSavesInTheCurrentForm) {
    const auto legacy = decodeCustomModes(listWith(R"("floorPercentage":0.4,"displaySensor":null)"));
    ASSERT_EQ(legacy.size(), 1u);
    EXPECT_EQ(legacy[0], (CustomMode{modeID(), "A", "x", ModeSpeed::floor(0.4),
                                     ModeSensor::source(ControlSource::hottest), std::nullopt, false}));
    const auto saved = Json::parse(encodeCustomModes(legacy));
    EXPECT_EQ(saved[0]["speed"], Json::parse(R"({"floor":{"percentage":0.4}})"));
    EXPECT_FALSE(saved[0].contains("floorPercentage"));
    EXPECT_FALSE(saved[0].contains("displaySensor"));
    // "speed" wins over the old key when both are there.
    EXPECT_EQ(
        decodeCustomModes(listWith(R"("floorPercentage":0.4,"speed":{"fixed":{"percentage":0.6}})"))[0].speed,
        ModeSpeed::fixed(0.6));
}

TEST(CustomMode, OneBadModeFailsTheWholeList) {
    const Json good = Json::parse(listWith(R"("speed":{"floor":{"percentage":0.1}})"))[0];
    ASSERT_EQ(decodeCustomModes(Json::array({good}).dump()).size(), 1u);
    std::vector<Json> badModes{Json("mode")};
    // Each required key missing ("speed" gone: neither speed form is there), then bad values.
    for (const char* key : {"id", "name", "symbolName", "speed"}) {
        badModes.push_back(good);
        badModes.back().erase(key);
    }
    const Json coolest = Json::parse(R"({"source":{"_0":"coolest"}})");
    const std::pair<const char*, Json> badValues[] = {{"id", "not-a-uuid"},
                                                      {"name", 5},
                                                      {"speed", 0.4},
                                                      {"drivesMainReadout", 1},
                                                      {"controlSensor", coolest},
                                                      {"displaySensor", coolest}};
    for (const auto& [key, value] : badValues) {
        badModes.push_back(good);
        badModes.back()[key] = value;
    }
    badModes.push_back(Json::parse(listWith(R"("floorPercentage":"0.4")"))[0]);
    for (const Json& bad : badModes) {
        EXPECT_THROW(decodeCustomModes(Json::array({good, bad}).dump()), DecodeError) << bad.dump();
    }
    for (const char* text : {"{}", "", "[{"}) {
        EXPECT_THROW(decodeCustomModes(text), DecodeError) << text;
    }
    EXPECT_TRUE(decodeCustomModes("[]").empty());
}

TEST(CustomMode, RoundTripPreservesEveryFieldInCompactText) {
    const std::vector<CustomMode> modes{
        {modeID(), "Quiet desk", "moon.fill", ModeSpeed::floor(0.125), ModeSensor::sensor("TB0T"),
         ModeSensor::source(ControlSource::cpuAverage), true},
        {Uuid::random(), "Render", "cube.fill", ModeSpeed::fixed(1.0 / 3.0),
         ModeSensor::source(ControlSource::cpuPerformance), ModeSensor::sensor("perf.0"), false},
        {Uuid::random(), "Ünïcode ✓", "film.fill", ModeSpeed::fixed(0.0), ModeSensor{}},
    };
    const auto text = encodeCustomModes(modes);
    for (const char* spacing : {"\n", ": ", ", "}) {
        EXPECT_EQ(text.find(spacing), std::string::npos) << spacing;
    }
    EXPECT_EQ(decodeCustomModes(text), modes);
    EXPECT_EQ(encodeCustomModes({}), "[]");
}

TEST(CustomMode, TemplatesAreMadeOncePerRunWithDistinctIdentities) {
    const auto& templates = CustomMode::templates();
    EXPECT_EQ(templates, (std::vector{CustomMode::gamingTemplate(), CustomMode::recordingTemplate(),
                                      CustomMode::renderingTemplate()}));
    EXPECT_EQ((std::set{templates[0].id, templates[1].id, templates[2].id}).size(), 3u);
}

} // namespace
} // namespace halvoren
