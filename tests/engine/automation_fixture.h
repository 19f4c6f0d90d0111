#pragma once

#include "engine_fixture.h"

#include <string>
#include <string_view>

namespace halvoren {

// The automations on one engine with two known fans, a connected helper and both quiet
// automations enabled (22:00 to 08:00).
class AutomationTest : public EngineTest {
protected:
    void SetUp() override {
        makeEngine();
        connect();
        engine->apply(sweep({temperatureSensor("TC0P", 50.0)}, fans));
        engine->setQuietHoursEnabled(true);
        engine->setMeetingQuietEnabled(true);
        engine->selectProfile(FanProfile::halvorenStandard());
    }

    // What is on, in a line: the flags, then preset/profile.
    std::string state() const {
        std::string line;
        const auto flag = [&](bool on, std::string_view name) {
            if (on) {
                line.append(name).append(" ");
            }
        };
        flag(engine->isTurboEngaged().value(), "turbo");
        flag(engine->isManualControl(), "manual");
        flag(engine->isCoolingDown(), "cooling");
        flag(engine->isDustCycleRunning(), "dust");
        flag(engine->meetingQuietActive().value(), "meeting");
        const auto& preset = engine->activePreset().value();
        const auto& profile = engine->activeProfile().value();
        return line + (preset ? std::string(rawValue(*preset)) : "-") + "/" +
               (profile ? profile->name : "none");
    }

public:
    void night() { engine->evaluateQuietHours(localTime(23, 0)); }
    void day() { engine->evaluateQuietHours(localTime(9, 0)); }
    void onBattery(bool battery) {
        engine->updatePowerTelemetry(
            PowerTelemetry{.source = battery ? PowerSource::battery : PowerSource::ac});
    }

protected:
    std::vector<FanStatus> fans{fan(0, 2000.0), fan(1, 0.0)};
};

} // namespace halvoren
