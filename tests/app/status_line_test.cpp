#include "app/status_line.h"
#include "engine/engine_fixture.h"

namespace halvoren {
namespace {

class StatusLineTest : public EngineTest {};

TEST_F(StatusLineTest, CarriesThePolicyTheTemperaturesAndEveryFan) {
    makeEngine();
    const auto idle = statusLine(*engine, clock.wallNow());
    EXPECT_EQ(idle["time"], "2027-01-15T08:00:00.000Z");
    EXPECT_EQ(idle["helperState"], "notRegistered");
    EXPECT_EQ(idle["activeProfile"], FanProfile::appleAuto().name);
    EXPECT_TRUE(idle["activePreset"].is_null());
    EXPECT_TRUE(idle["lastError"].is_null());
    EXPECT_TRUE(idle["fans"].empty());

    connect();
    engine->apply(sweep({temperatureSensor("Tp01", 61.5)}, {fan(1, 2500.0), fan(0, 2400.0)}));
    engine->selectPreset(FanPreset::auto_);
    const auto line = statusLine(*engine, clock.wallNow());
    EXPECT_EQ(line["helperState"], "connected");
    EXPECT_EQ(line["activePreset"], "auto");
    EXPECT_EQ(line["drivingStatus"], "Balanced curve");
    EXPECT_EQ(line["controlTemperature"], 61.5);
    ASSERT_EQ(line["fans"].size(), 2u);
    EXPECT_EQ(line["fans"][0]["id"], 0); // by fan id, whatever the controller's order
    EXPECT_EQ(line["fans"][0]["current"], 2400.0);
    EXPECT_EQ(line["fans"][1]["max"], 6000.0);
    EXPECT_EQ(line["fans"][1]["managed"], false);
    EXPECT_EQ(line["dustCycle"]["state"], "idle");
    EXPECT_EQ(line["trend"], "Steady");
    EXPECT_TRUE(line["forecastChip"]["etaMinutes"].is_null());
    EXPECT_TRUE(line["cooldownEnd"].is_null());

    engine->updatePowerTelemetry(PowerTelemetry{.source = PowerSource::battery, .systemWatts = 7.5});
    engine->setFanTarget(1, 3000.0);
    engine->startCooldown(90.0); // Turbo, ending manual control
    engine->setFanTarget(0, 1800.0);
    const auto busy = statusLine(*engine, clock.wallNow());
    EXPECT_EQ(busy["power"]["source"], "battery");
    EXPECT_EQ(busy["power"]["watts"], 7.5);
    EXPECT_EQ(busy["turbo"], false);
    EXPECT_EQ(busy["manualTargets"], (nlohmann::ordered_json{{"0", 1800.0}, {"1", 2500.0}}));
    engine->selectPreset(FanPreset::max);
    engine->startCooldown(90.0);
    const auto cooling = statusLine(*engine, clock.wallNow());
    EXPECT_EQ(cooling["turbo"], true);
    EXPECT_EQ(cooling["cooldownEnd"], "2027-01-15T08:01:30.000Z");
    // One line: nothing in it may break the line.
    EXPECT_EQ(line.dump().find('\n'), std::string::npos);
}

TEST_F(StatusLineTest, CarriesTheHottestApplications) {
    makeEngine();
    driver.version = std::string(helperBuildVersion);
    processes->set(7, "Editor", 10.0);
    processes->set(8, "Browser Web Content", 20.0);
    engine->start();
    ASSERT_TRUE(pumpUntil([&] { return engine->passCount() >= 1; }));
    EXPECT_EQ(statusLine(*engine, clock.wallNow())["heatSources"], nlohmann::ordered_json::array());
    processes->set(7, "Editor", 13.0);
    processes->set(8, "Browser Web Content", 21.0);
    // A second at a time, as the idle loop sleeps, until the next sample.
    for (int second = 0; second <= 61 && engine->heatSources()->empty(); ++second) {
        const std::uint64_t before = engine->passCount();
        timers.advance(1.0);
        pumpUntil([&] { return engine->passCount() > before; });
    }
    const auto line = statusLine(*engine, clock.wallNow());
    EXPECT_EQ(line["heatSources"],
              (nlohmann::ordered_json{{{"name", "Editor"}, {"cpuShare", 0.75}, {"cpuSeconds", 3.0}},
                                      {{"name", "Browser"}, {"cpuShare", 0.25}, {"cpuSeconds", 1.0}}}));
    EXPECT_EQ(line["dailyHeatSources"], line["heatSources"]);
    engine->stop();
}

} // namespace
} // namespace halvoren
