#include "core/alert_rules.h"
#include "core/enum_keyed_map.h"
#include "core/preset_power_caps.h"

#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>

namespace halvoren {
namespace {

TEST(PresetPowerCapsMapTest, TheStoredExampleDecodesToTheDefaultsAndEncodesBackInOrder) {
    const char* stored =
        R"(["quiet",{"ac":0.55,"battery":0.35},"auto",{"ac":1,"battery":0.7},"max",{"ac":1,"battery":1}])";
    EXPECT_EQ((decodeEnumKeyedMap<FanPreset, PresetPowerCaps>(json::parse(stored))),
              defaultPresetPowerCaps());

    // Written back exactly as stored, with 1 rather than 1.0.
    EXPECT_EQ(encodeEnumKeyedMap(defaultPresetPowerCaps()).dump(), stored);

    // The caller's order is kept, not the declaration order.
    const PresetPowerCapsMap reversed{{FanPreset::max, {0.9, 0.8}}, {FanPreset::quiet, {0.3, 0.2}}};
    EXPECT_EQ(encodeEnumKeyedMap(reversed).dump(),
              R"(["max",{"ac":0.9,"battery":0.8},"quiet",{"ac":0.3,"battery":0.2}])");
    EXPECT_EQ((decodeEnumKeyedMap<FanPreset, PresetPowerCaps>(encodeEnumKeyedMap(reversed))), reversed);
    const PresetPowerCapsMap nonFinite{{FanPreset::quiet, {std::numeric_limits<double>::quiet_NaN(), 0.5}}};
    EXPECT_THROW(encodeEnumKeyedMap(nonFinite), EncodeError);
}

TEST(PresetPowerCapsMapTest, MalformedArraysFailTheWholeDecode) {
    const char* cases[] = {
        R"({"quiet":{"ac":0.5,"battery":0.5}})",         // an object, not the flat form
        R"(["quiet",{"ac":0.5,"battery":0.5},"max"])",   // odd length
        R"(["turbo",{"ac":0.5,"battery":0.5}])",         // unknown key
        R"([1,{"ac":0.5,"battery":0.5}])",               // key not text
        R"(["quiet",{"ac":0.5}])",                       // "battery" is required
        R"(["quiet",{"battery":0.5}])",                  // "ac" is required
        R"(["quiet",{"ac":"0.5","battery":0.5}])",       // wrong kind
        R"(["quiet",[0.5,0.5]])",                        // value not an object
        R"(["auto",{"ac":1,"battery":1},"quiet",null])", // one bad value spoils the rest
    };
    for (const char* text : cases) {
        EXPECT_THROW((decodeEnumKeyedMap<FanPreset, PresetPowerCaps>(json::parse(text))), DecodeError)
            << text;
    }
    EXPECT_TRUE((decodeEnumKeyedMap<FanPreset, PresetPowerCaps>(Json::array())).empty());

    // A repeated key keeps its last value.
    const auto decoded = decodeEnumKeyedMap<FanPreset, PresetPowerCaps>(json::parse(
        R"(["quiet",{"ac":0.1,"battery":0.1},"max",{"ac":1,"battery":1},"quiet",{"ac":0.2,"battery":0.3}])"));
    const PresetPowerCapsMap expected{{FanPreset::quiet, {0.2, 0.3}}, {FanPreset::max, {1.0, 1.0}}};
    EXPECT_EQ(decoded, expected);
}

TEST(MergeOverDefaultsTest, StoredEntriesReplaceDefaultsAndMissingOnesKeepThem) {
    const PresetPowerCapsMap onlyQuiet{{FanPreset::quiet, {0.4, 0.2}}};
    const PresetPowerCapsMap expected{
        {FanPreset::quiet, {0.4, 0.2}}, {FanPreset::auto_, {1.0, 0.7}}, {FanPreset::max, {1.0, 1.0}}};
    EXPECT_EQ(mergeOverDefaults(defaultPresetPowerCaps(), onlyQuiet), expected);
    EXPECT_EQ(mergeOverDefaults(defaultPresetPowerCaps(), {}), defaultPresetPowerCaps());

    // A category stored before others existed: the rest come from the defaults, in their order.
    const AlertRules storedRules{{SensorCategory::battery, {true, 40.0, true}}};
    const AlertRules merged = mergeOverDefaults(defaultAlertRules(), storedRules);
    ASSERT_EQ(merged.size(), 6u);
    EXPECT_EQ(merged[4], (std::pair{SensorCategory::battery, AlertRule{true, 40.0, true}}));
    EXPECT_EQ(merged[0], (std::pair{SensorCategory::cpu, AlertRule{false, 95.0, false}}));
}

TEST(DefaultAlertRulesTest, OneDisabledRulePerCategoryInDeclarationOrder) {
    const auto& rules = defaultAlertRules();
    const auto categories = allCases<SensorCategory>();
    ASSERT_EQ(rules.size(), categories.size());
    const double thresholds[] = {95, 95, 95, 85, 45, 50};
    for (std::size_t i = 0; i < rules.size(); ++i) {
        EXPECT_EQ(rules[i].first, categories[i]);
        EXPECT_EQ(rules[i].second, (AlertRule{false, thresholds[i], false})) << rawValue(categories[i]);
    }
    // Round trip through the stored form, where the rule's own JSON keys appear.
    const Json encoded = encodeEnumKeyedMap(rules);
    EXPECT_EQ(encoded[0], "cpu");
    EXPECT_EQ(encoded[1], (Json{{"enabled", false}, {"thresholdCelsius", 95.0}, {"autoBoost", false}}));
    EXPECT_EQ((decodeEnumKeyedMap<SensorCategory, AlertRule>(json::parse(encoded.dump()))), rules);
}

} // namespace
} // namespace halvoren
