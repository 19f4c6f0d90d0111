#include "core/custom_mode.h"
#include "core/json_support.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>

namespace halvoren {
namespace {

const Uuid modeID = Uuid::fromLiteral("11111111-2222-3333-4444-555555555555");

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

// A stored list holding one mode whose fields are `fields` (a JSON object's inner text).
std::string listWith(const std::string& fields) {
    return R"([{"id":"11111111-2222-3333-4444-555555555555","name":"A","symbolName":"mic.fill")" +
           std::string(fields.empty() ? "" : ",") + fields + "}]";
}

TEST(ModeSpeed, CaseObjectsCarryAPercentage) {
    EXPECT_EQ(Json(ModeSpeed::fixed(0.7)).dump(), R"({"fixed":{"percentage":0.7}})");
    EXPECT_EQ(Json(ModeSpeed::floor(0.25)).dump(), R"({"floor":{"percentage":0.25}})");
    EXPECT_EQ(Json::parse(R"({"floor":{"percentage":0.4}})").get<ModeSpeed>(), ModeSpeed::floor(0.4));
    EXPECT_EQ(Json::parse(R"({"fixed":{"percentage":1}})").get<ModeSpeed>(), ModeSpeed::fixed(1.0));
    EXPECT_NE(ModeSpeed::floor(0.5), ModeSpeed::fixed(0.5));
    EXPECT_EQ(ModeSpeed::floor(0.5).displayName(), "Minimum");
    EXPECT_EQ(ModeSpeed::fixed(0.5).displayName(), "Fixed");
    EXPECT_THROW(Json(ModeSpeed::fixed(std::numeric_limits<double>::infinity())), EncodeError);
}

TEST(ModeSensor, CaseObjectsCarryASourceOrAnID) {
    EXPECT_EQ(Json(ModeSensor::source(ControlSource::gpuAverage)).dump(),
              R"({"source":{"_0":"gpuAverage"}})");
    EXPECT_EQ(Json(ModeSensor::sensor("TB0T")).dump(), R"({"sensor":{"id":"TB0T"}})");
    EXPECT_EQ(Json::parse(R"({"sensor":{"id":"perf.0"}})").get<ModeSensor>(), ModeSensor::sensor("perf.0"));
    EXPECT_EQ(ModeSensor::sensor("perf.0").sensorID(), "perf.0");
    EXPECT_EQ(ModeSensor::sensor("perf.0").controlSource(), std::nullopt);
    EXPECT_EQ(ModeSensor::source(ControlSource::cpuEfficiency).controlSource(), ControlSource::cpuEfficiency);
    EXPECT_EQ(ModeSensor::source(ControlSource::cpuEfficiency).sensorID(), std::nullopt);
    // An id that happens to spell a source's raw text is still a different sensor.
    EXPECT_NE(ModeSensor::sensor("hottest"), ModeSensor::source(ControlSource::hottest));
}

TEST(ModeCaseObjects, ExactlyOneKnownCaseKey) {
    const std::string message = "Invalid number of keys found, expected one.";
    EXPECT_EQ(decodeFailure<ModeSpeed>(R"({"fixed":{"percentage":0.5},"floor":{"percentage":0.5}})"),
              message);
    EXPECT_EQ(decodeFailure<ModeSpeed>("{}"), message);
    EXPECT_EQ(decodeFailure<ModeSpeed>(R"({"bogus":{"percentage":0.5}})"), message);
    EXPECT_EQ(decodeFailure<ModeSensor>(R"({"source":{"_0":"hottest"},"sensor":{"id":"TB0T"}})"), message);
    EXPECT_EQ(decodeFailure<ModeSensor>("{}"), message);
    // Unknown keys are ignored everywhere, also beside the one case key.
    EXPECT_EQ(Json::parse(R"({"fixed":{"percentage":0.5},"note":1})").get<ModeSpeed>(),
              ModeSpeed::fixed(0.5));

    // Malformed payloads fail, with their own messages.
    for (const char* text : {R"("fixed")", R"({"fixed":0.5})", R"({"fixed":{}})",
                             R"({"fixed":{"percentage":"0.5"}})", R"({"fixed":null})"}) {
        const auto failure = decodeFailure<ModeSpeed>(text);
        EXPECT_FALSE(failure.empty()) << text;
        EXPECT_NE(failure, message) << text;
    }
    for (const char* text : {R"({"source":{"_0":"coolest"}})", R"({"source":{"_0":4}})", R"({"source":{}})",
                             R"({"source":"hottest"})", R"({"sensor":{"id":7}})", R"({"sensor":{}})"}) {
        EXPECT_FALSE(decodeFailure<ModeSensor>(text).empty()) << text;
    }
}

TEST(CustomMode, ConstructionClampsTheSpeedKeepingItsCase) {
    const CustomMode high{modeID, "A", "mic.fill", ModeSpeed::fixed(1.5), ModeSensor{}};
    EXPECT_EQ(high.speed, ModeSpeed::fixed(1.0));
    const CustomMode low{modeID, "A", "mic.fill", ModeSpeed::floor(-0.2), ModeSensor{}};
    EXPECT_EQ(low.speed, ModeSpeed::floor(0.0));
    const CustomMode inside{modeID, "A", "mic.fill", ModeSpeed::floor(0.3), ModeSensor{}};
    EXPECT_EQ(inside.speed, ModeSpeed::floor(0.3));

    // NaN survives the clamp and is refused when the list is written.
    const CustomMode nan{modeID, "A", "mic.fill", ModeSpeed::fixed(std::nan("")), ModeSensor{}};
    EXPECT_TRUE(std::isnan(nan.speed.percentage()));
    EXPECT_EQ(nan.speed.kind(), ModeSpeed::Kind::fixed);
    EXPECT_THROW(encodeCustomModes({inside, nan}), EncodeError);

    CustomMode badText = inside;
    badText.name = "\xff\xfe";
    EXPECT_THROW(encodeCustomModes({badText}), EncodeError);
}

TEST(CustomMode, DecodesTheDocumentedForm) {
    const auto modes = decodeCustomModes(
        R"([{"id":"11111111-2222-3333-4444-555555555555","name":"Gaming","symbolName":"gamecontroller.fill",
             "speed":{"fixed":{"percentage":0.7}},
             "controlSensor":{"source":{"_0":"gpuAverage"}},
             "drivesMainReadout":false}])");
    ASSERT_EQ(modes.size(), 1u);
    EXPECT_EQ(modes[0], (CustomMode{modeID, "Gaming", "gamecontroller.fill", ModeSpeed::fixed(0.7),
                                    ModeSensor::source(ControlSource::gpuAverage), std::nullopt, false}));
}

TEST(CustomMode, LenientDecodingOfOlderData) {
    const auto legacy = decodeCustomModes(listWith(R"("floorPercentage":0.4)"));
    ASSERT_EQ(legacy.size(), 1u);
    EXPECT_EQ(legacy[0].speed, ModeSpeed::floor(0.4));
    EXPECT_EQ(legacy[0].controlSensor, ModeSensor::source(ControlSource::hottest));
    EXPECT_EQ(legacy[0].displaySensor, std::nullopt);
    EXPECT_FALSE(legacy[0].drivesMainReadout);

    // Saving writes the current form and drops the old key.
    const auto saved = Json::parse(encodeCustomModes(legacy));
    EXPECT_EQ(saved[0]["speed"], Json::parse(R"({"floor":{"percentage":0.4}})"));
    EXPECT_FALSE(saved[0].contains("floorPercentage"));
    EXPECT_FALSE(saved[0].contains("displaySensor"));
    EXPECT_EQ(decodeCustomModes(encodeCustomModes(legacy)), legacy);

    // "speed" wins over the old key when both are there.
    EXPECT_EQ(
        decodeCustomModes(listWith(R"("floorPercentage":0.4,"speed":{"fixed":{"percentage":0.6}})"))[0].speed,
        ModeSpeed::fixed(0.6));
    // Stored percentages outside the range load clamped.
    EXPECT_EQ(decodeCustomModes(listWith(R"("speed":{"fixed":{"percentage":1.5}})"))[0].speed,
              ModeSpeed::fixed(1.0));
    EXPECT_EQ(decodeCustomModes(listWith(R"("speed":{"floor":{"percentage":-0.2}})"))[0].speed,
              ModeSpeed::floor(0.0));
    EXPECT_EQ(decodeCustomModes(listWith(R"("floorPercentage":3)"))[0].speed, ModeSpeed::floor(1.0));
    // A null optional field reads as absent.
    EXPECT_EQ(decodeCustomModes(listWith(R"("floorPercentage":0.4,"displaySensor":null)"))[0].displaySensor,
              std::nullopt);
}

TEST(CustomMode, OneBadModeFailsTheWholeList) {
    const std::string good = R"({"id":"11111111-2222-3333-4444-555555555556","name":"B","symbolName":"x",)"
                             R"("speed":{"floor":{"percentage":0.1}}})";
    ASSERT_EQ(decodeCustomModes("[" + good + "]").size(), 1u);

    const std::string speed = R"("speed":{"floor":{"percentage":0.1}})";
    const std::string badModes[] = {
        // neither "speed" nor "floorPercentage"
        R"({"id":"11111111-2222-3333-4444-555555555555","name":"A","symbolName":"x"})",
        // a required key missing
        R"({"name":"A","symbolName":"x",)" + speed + "}",
        R"({"id":"11111111-2222-3333-4444-555555555555","symbolName":"x",)" + speed + "}",
        R"({"id":"11111111-2222-3333-4444-555555555555","name":"A",)" + speed + "}",
        // wrong types
        R"({"id":"not-a-uuid","name":"A","symbolName":"x",)" + speed + "}",
        R"({"id":"11111111-2222-3333-4444-555555555555","name":5,"symbolName":"x",)" + speed + "}",
        R"({"id":"11111111-2222-3333-4444-555555555555","name":"A","symbolName":"x","floorPercentage":"0.4"})",
        R"({"id":"11111111-2222-3333-4444-555555555555","name":"A","symbolName":"x","speed":0.4})",
        R"({"id":"11111111-2222-3333-4444-555555555555","name":"A","symbolName":"x","drivesMainReadout":1,)" +
            speed + "}",
        // an unknown source, in either sensor field
        R"({"id":"11111111-2222-3333-4444-555555555555","name":"A","symbolName":"x",)" + speed +
            R"(,"controlSensor":{"source":{"_0":"coolest"}}})",
        R"({"id":"11111111-2222-3333-4444-555555555555","name":"A","symbolName":"x",)" + speed +
            R"(,"displaySensor":{"source":{"_0":"coolest"}}})",
        // two case keys in a speed
        R"({"id":"11111111-2222-3333-4444-555555555555","name":"A","symbolName":"x",)"
        R"("speed":{"fixed":{"percentage":0.5},"floor":{"percentage":0.5}}})",
        // not an object
        R"("mode")",
    };
    for (const auto& bad : badModes) {
        EXPECT_THROW(decodeCustomModes("[" + good + "," + bad + "]"), DecodeError) << bad;
    }
    EXPECT_THROW(decodeCustomModes("{}"), DecodeError);
    EXPECT_THROW(decodeCustomModes("[" + good), DecodeError);
    EXPECT_THROW(decodeCustomModes(""), DecodeError);
    EXPECT_TRUE(decodeCustomModes("[]").empty());
}

TEST(CustomMode, RoundTripPreservesEveryField) {
    const std::vector<CustomMode> modes{
        {modeID, "Quiet desk", "moon.fill", ModeSpeed::floor(0.125), ModeSensor::sensor("TB0T"),
         ModeSensor::source(ControlSource::cpuAverage), true},
        {Uuid::random(), "Render", "cube.fill", ModeSpeed::fixed(1.0 / 3.0),
         ModeSensor::source(ControlSource::cpuPerformance), ModeSensor::sensor("perf.0"), false},
        {Uuid::random(), "Ünïcode ✓", "film.fill", ModeSpeed::fixed(0.0), ModeSensor{}},
    };
    const auto text = encodeCustomModes(modes);
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_EQ(text.find(": "), std::string::npos);
    EXPECT_EQ(text.find(", "), std::string::npos);
    EXPECT_EQ(decodeCustomModes(text), modes);
    EXPECT_EQ(Json::parse(text)[0]["displaySensor"], Json::parse(R"({"source":{"_0":"cpuAverage"}})"));
    EXPECT_FALSE(Json::parse(text)[2].contains("displaySensor"));
    EXPECT_EQ(encodeCustomModes({}), "[]");
}

TEST(CustomMode, TemplatesAndSymbols) {
    const auto& gaming = CustomMode::gamingTemplate();
    EXPECT_EQ(gaming, (CustomMode{gaming.id, "Gaming", "gamecontroller.fill", ModeSpeed::fixed(0.7),
                                  ModeSensor::source(ControlSource::gpuAverage)}));
    const auto& recording = CustomMode::recordingTemplate();
    EXPECT_EQ(recording, (CustomMode{recording.id, "Recording", "mic.fill", ModeSpeed::floor(0.25),
                                     ModeSensor::source(ControlSource::hottest)}));
    const auto& rendering = CustomMode::renderingTemplate();
    EXPECT_EQ(rendering, (CustomMode{rendering.id, "Rendering", "cube.fill", ModeSpeed::floor(0.8),
                                     ModeSensor::source(ControlSource::cpuPerformance)}));

    EXPECT_NE(gaming.id, recording.id);
    EXPECT_NE(gaming.id, rendering.id);
    EXPECT_NE(recording.id, rendering.id);
    EXPECT_FALSE(gaming.id.isNil());
    // Made once per run: every call hands out the same identity.
    EXPECT_EQ(CustomMode::gamingTemplate().id, gaming.id);
    EXPECT_EQ(CustomMode::templates(), (std::vector<CustomMode>{gaming, recording, rendering}));

    const auto& symbols = CustomMode::curatedSymbolNames;
    EXPECT_EQ(symbols.front(), "gamecontroller.fill");
    EXPECT_EQ(symbols.back(), "chart.bar.fill");
    for (const auto& mode : CustomMode::templates()) {
        EXPECT_NE(std::find(symbols.begin(), symbols.end(), mode.symbolName), symbols.end()) << mode.name;
    }
}

} // namespace
} // namespace halvoren
