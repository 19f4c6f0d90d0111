#include "core/fan_driving_status.h"
#include "core/preset_profiles.h"
#include "curve_numbers.h"

#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace halvoren {
namespace {

PresetPowerCapsMap capsOf(FanPreset preset, double ac, double battery) {
    PresetPowerCapsMap caps = defaultPresetPowerCaps();
    setEntry(caps, preset, PresetPowerCaps{ac, battery});
    return caps;
}

TEST(PresetProfiles, CapsCutTheCurveFlatAndKeepTheBaseIdentity) {
    const PresetPowerCapsMap& defaults = defaultPresetPowerCaps();

    const FanProfile quietMains = effectiveProfile(FanPreset::quiet, defaults, false);
    EXPECT_EQ(numbers(quietMains), (Curve{{40, 0.0}, {60, 0.25}, {75, 0.5}, {90, 0.55}}));
    const FanProfile quietBattery = effectiveProfile(FanPreset::quiet, defaults, true);
    EXPECT_EQ(numbers(quietBattery), (Curve{{40, 0.0}, {60, 0.25}, {75, 0.35}, {90, 0.35}}));
    // Same identity, name and point identities: only the fractions above the cap moved.
    FanProfile uncapped = quietBattery;
    for (std::size_t i = 0; i < uncapped.curvePoints.size(); ++i) {
        uncapped.curvePoints[i].rpmPercentage = FanProfile::silentStealth().curvePoints[i].rpmPercentage;
    }
    EXPECT_EQ(uncapped, FanProfile::silentStealth());

    EXPECT_EQ(effectiveProfile(FanPreset::auto_, defaults, false), FanProfile::halvorenStandard());
    EXPECT_EQ(numbers(effectiveProfile(FanPreset::auto_, defaults, true)),
              (Curve{{35, 0.0}, {55, 0.35}, {70, 0.65}, {85, 0.7}}));
}

TEST(PresetProfiles, ACapOfOneOrMoreOrAConstantProfileLeavesTheBaseAsItIs) {
    // Exactly 1.0, and above it (clamped to 1.0): the constant itself.
    EXPECT_EQ(effectiveProfile(FanPreset::quiet, capsOf(FanPreset::quiet, 1.0, 1.0), false),
              FanProfile::silentStealth());
    EXPECT_EQ(effectiveProfile(FanPreset::quiet, capsOf(FanPreset::quiet, 0.2, 1.7), true),
              FanProfile::silentStealth());
    // Just below 1.0 already cuts the last point.
    EXPECT_EQ(numbers(effectiveProfile(FanPreset::quiet, capsOf(FanPreset::quiet, 0.999, 1.0), false)).back(),
              (std::pair<double, double>{90, 0.999}));
    // A negative cap is clamped to 0: every point goes flat at the bottom.
    EXPECT_EQ(numbers(effectiveProfile(FanPreset::auto_, capsOf(FanPreset::auto_, -0.5, 1.0), false)),
              (Curve{{35, 0.0}, {55, 0.0}, {70, 0.0}, {85, 0.0}}));
    // max is a constant-speed profile and is never capped, whatever its caps hold.
    EXPECT_EQ(effectiveProfile(FanPreset::max, capsOf(FanPreset::max, 0.1, 0.1), true),
              FanProfile::maxThermalBlast());
}

TEST(PresetProfiles, AMissingEntryFallsBackToItsDefaultCaps) {
    PresetPowerCapsMap onlyAuto;
    setEntry(onlyAuto, FanPreset::auto_, PresetPowerCaps{0.5, 0.5});
    EXPECT_EQ(capsFor(FanPreset::quiet, onlyAuto), (PresetPowerCaps{0.55, 0.35}));
    EXPECT_EQ(capsFor(FanPreset::auto_, onlyAuto), (PresetPowerCaps{0.5, 0.5}));
    EXPECT_EQ(numbers(effectiveProfile(FanPreset::quiet, onlyAuto, true)).back(),
              (std::pair<double, double>{90, 0.35}));
    EXPECT_EQ(numbers(effectiveProfile(FanPreset::auto_, onlyAuto, false)).back(),
              (std::pair<double, double>{85, 0.5}));
}

FanProfile customProfile(std::string name, ControlMode mode) {
    return FanProfile{Uuid::random(), std::move(name), mode, 2500, "max", {}};
}

TEST(FanDrivingStatus, TheFirstMatchingReasonWins) {
    using FanDrivingStatus::subtitle;
    const auto quietCapped = effectiveProfile(FanPreset::quiet, defaultPresetPowerCaps(), true);
    const std::optional<FanProfile> none;

    EXPECT_EQ(subtitle(true, true, FanPreset::quiet, true, quietCapped), "Turbo: max cooling");
    EXPECT_EQ(subtitle(false, true, FanPreset::quiet, true, quietCapped), "Quiet: microphone in use");
    // The microphone reason belongs to the quiet preset only.
    EXPECT_EQ(subtitle(false, true, FanPreset::auto_, false, FanProfile::halvorenStandard()),
              "Balanced curve");
    EXPECT_EQ(subtitle(false, true, std::nullopt, false, quietCapped), "Quiet curve");
    EXPECT_EQ(subtitle(false, false, std::nullopt, true, FanProfile::appleAuto()), "Manual control");
    EXPECT_EQ(subtitle(false, false, std::nullopt, false, none), "macOS automatic control");
    EXPECT_EQ(subtitle(false, false, std::nullopt, false, FanProfile::appleAuto()),
              "macOS automatic control");
    EXPECT_EQ(subtitle(false, false, FanPreset::quiet, false, quietCapped), "Quiet curve");
    EXPECT_EQ(subtitle(false, false, std::nullopt, false, FanProfile::maxThermalBlast()), "Max cooling");
    EXPECT_EQ(subtitle(false, false, std::nullopt, false, customProfile("Lock", ControlMode::constantRPM)),
              "Speed locked");
    EXPECT_EQ(subtitle(false, false, std::nullopt, false, customProfile("Desk", ControlMode::adaptiveCurve)),
              "Desk");
    // Told apart by identity, not by name.
    FanProfile impostor = FanProfile::halvorenStandard();
    impostor.id = Uuid::random();
    EXPECT_EQ(subtitle(false, false, std::nullopt, false, impostor), "Halvoren Standard");
}

TEST(FanDisplayName, DependsOnHowManyFansThereAre) {
    const struct {
        int fan;
        std::vector<int> fans;
        const char* name;
    } rows[] = {{3, {3}, "Fan"},          {1, {1, 4}, "Left Fan"}, {4, {1, 4}, "Right Fan"},
                {9, {1, 4}, "Right Fan"}, {0, {0, 1, 2}, "Fan 1"}, {2, {0, 1, 2}, "Fan 3"},
                {5, {}, "Fan 6"}};
    for (const auto& row : rows) {
        EXPECT_EQ(fanDisplayName(row.fan, row.fans), row.name) << row.fan;
    }
}

} // namespace
} // namespace halvoren
