#include "core/custom_mode.h"
#include "core/json_support.h"

#include <cmath>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

namespace halvoren {
namespace {

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
    EXPECT_EQ(Json(ModeSpeed::floor(0.25)).dump(), R"({"floor":{"percentage":0.25}})");
    EXPECT_EQ(Json(ModeSensor::source(ControlSource::gpuAverage)).dump(),
              R"({"source":{"_0":"gpuAverage"}})");
    EXPECT_EQ(Json(ModeSensor::sensor("TB0T")).dump(), R"({"sensor":{"id":"TB0T"}})");
    EXPECT_EQ(Json::parse(R"({"fixed":{"percentage":1},"note":1})").get<ModeSpeed>(), ModeSpeed::fixed(1.0));
    // An id that happens to spell a source's raw text is still a different sensor.
    EXPECT_NE(ModeSensor::sensor("hottest"), ModeSensor::source(ControlSource::hottest));
    EXPECT_NE(ModeSpeed::floor(0.5), ModeSpeed::fixed(0.5));
    EXPECT_EQ(ModeSpeed::floor(0.5).displayName(), "Minimum");
    EXPECT_EQ(ModeSpeed::fixed(0.5).displayName(), "Fixed");

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
    const std::pair<const char*, Json> badValues[] = {
        {"id", "not-a-uuid"},
        {"name", 5},
        {"speed", 0.4},
        {"drivesMainReadout", 1},
        {"controlSensor", coolest},
        {"displaySensor", coolest},
    };
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
    EXPECT_EQ(Json::parse(text)[0]["displaySensor"], Json::parse(R"({"source":{"_0":"cpuAverage"}})"));
    EXPECT_FALSE(Json::parse(text)[2].contains("displaySensor"));
    EXPECT_EQ(encodeCustomModes({}), "[]");
}

TEST(CustomMode, TemplatesAreMadeOncePerRunWithDistinctIdentities) {
    const auto& templates = CustomMode::templates();
    EXPECT_EQ(templates, (std::vector{CustomMode::gamingTemplate(), CustomMode::recordingTemplate(),
                                      CustomMode::renderingTemplate()}));
    EXPECT_EQ((std::set{templates[0].id, templates[1].id, templates[2].id}).size(), 3u);
    EXPECT_EQ(templates[1].speed, ModeSpeed::floor(0.25));
    const auto& symbols = CustomMode::curatedSymbolNames;
    for (const auto& mode : templates) {
        EXPECT_NE(std::find(symbols.begin(), symbols.end(), mode.symbolName), symbols.end()) << mode.name;
    }
}

} // namespace
} // namespace halvoren
