#include "core/alert_rule.h"
#include "core/control_source.h"
#include "core/curve_point.h"
#include "core/fan_profile.h"
#include "core/fan_status.h"
#include "core/json_support.h"
#include "core/power_telemetry.h"
#include "core/sensor.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
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

template <class T>
void expectRejected(const Json& valid, const std::string& key, const Json& bad) {
    Json broken = valid;
    broken[key] = bad;
    EXPECT_THROW((void)broken.get<T>(), DecodeError) << key << ": " << bad.dump();
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
    EXPECT_EQ(Json(FanPreset::auto_), "auto");
    const std::vector<std::pair<double, const char*>> wholeNumbers{
        {-3.0, "-3"},
        {9007199254740992.0, "9007199254740992"},
        {9007199254740994.0, "9.007199254740994e+15"}};
    for (const auto& [value, text] : wholeNumbers) {
        EXPECT_EQ(json::finite(value).dump(), text);
    }
}

// Values of the right JSON kind that are still not values of the field (wrong kinds are tried above).
TEST(ModelJson, RejectsValuesOutsideTheirTypeAndTakesIntegersToTheirEdges) {
    const Json profile = profileJson();
    const std::pair<const char*, Json> badProfiles[] = {
        {"mode", 3},
        {"mode", -1},
        {"mode", 1.5},
        {"mode", "adaptiveCurve"},
        {"constantTargetRPM", 1.5},
        {"constantTargetRPM", true},
        {"constantTargetRPM", json::parse("9223372036854775808")},
        {"constantTargetRPM", 1e19},
        {"id", "00000000-0000-0000-0000-0000000000A"},
        {"curvePoints", Json::array({1})},
        {"curvePoints", Json::array({Json::object()})}};
    for (const auto& [key, bad] : badProfiles) {
        expectRejected<FanProfile>(profile, key, bad);
    }
    // One bad point fails the whole profile.
    Json badPoint = profile;
    badPoint["curvePoints"][1].erase("temperature");
    EXPECT_THROW((void)badPoint.get<FanProfile>(), DecodeError);

    expectRejected<CurvePoint>(pointJson, "rpmPercentage", false);
    const std::pair<const char*, Json> badFans[] = {
        {"isManaged", "true"}, {"id", 1.5}, {"id", 2147483648LL}, {"id", -2147483649LL}};
    for (const auto& [key, bad] : badFans) {
        expectRejected<FanStatus>(fanJson, key, bad);
    }
    const std::pair<const char*, const char*> badSensors[] = {{"category", "CPU"},
                                                              {"category", "ane"},
                                                              {"sensorClass", "heat"},
                                                              {"sensorClass", "Temperature"},
                                                              {"sensorClass", ""}};
    for (const auto& [key, bad] : badSensors) {
        expectRejected<SMCSensor>(sensorJson, key, bad);
    }
    expectRejected<PowerTelemetry>(powerJson, "source", "AC");
    expectRejected<PowerTelemetry>(powerJson, "source", "mains");
    expectRejected<AlertRule>(ruleJson, "autoBoost", "false");
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

TEST(ModelJson, FanStatusLeavesOutWhetherTheReadingWasValid) {
    // Decoded readings are valid; equality includes the flag, and a stored flag is an ignored unknown key.
    EXPECT_EQ(roundTrip(FanStatus{0, 1800, 1200, 5000, 1900, false, false}),
              (FanStatus{0, 1800, 1200, 5000, 1900, false, true}));
    EXPECT_NE((FanStatus{0, 1800, 1200, 5000, 1900, false, false}),
              (FanStatus{0, 1800, 1200, 5000, 1900, false, true}));
    Json withFlag = fanJson;
    withFlag["currentRPMValid"] = false;
    EXPECT_TRUE(withFlag.get<FanStatus>().currentRPMValid);
}

TEST(ModelJson, ProfilesRoundTripAsGivenAndTheUnlimitedSpeedStaysAnInteger) {
    // Points are held as given, even outside the unit range.
    const FanProfile curve{Uuid::random(),
                           "Edge \"quoted\" ✓",
                           ControlMode::adaptiveCurve,
                           0,
                           "max",
                           {CurvePoint::make(-12.5, -0.2), CurvePoint::make(0.1 + 0.2, 1.7),
                            CurvePoint::make(1e-300, 0.333333333333333315)}};
    EXPECT_EQ(roundTrip(curve), curve);
    // A point with a different identity makes a different curve.
    FanProfile renumbered = curve;
    renumbered.curvePoints[0].id = Uuid::random();
    EXPECT_NE(renumbered, curve);

    // Every mode, and the largest constant speed.
    for (const auto& builtin : FanProfile::builtins()) {
        EXPECT_EQ(roundTrip(builtin), builtin) << builtin.name;
    }
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

} // namespace
} // namespace halvoren
