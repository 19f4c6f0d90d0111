#pragma once

#include "engine_fixture.h"

#include <cstdio>
#include <functional>
#include <map>
#include <sstream>
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
        flag(engine->activeCustomModeID().value().has_value(), "custom");
        const auto& preset = engine->activePreset().value();
        const auto& profile = engine->activeProfile().value();
        return line + (preset ? std::string(rawValue(*preset)) : "-") + "/" +
               (profile ? profile->name : "none");
    }

    // Plays `script`, moves separated by spaces, then tells the state. A move is a user's choice
    // (quiet, auto, max, blast: the profile, mode: the rendering template, shape: a profile of
    // Turbo's exact shape, turbo, unturbo, manual, target: fan 0 at 3000 RPM, cooldown, cancel: the
    // cooldown, dust, hoursoff, hourson, short: quiet hours end at 23:00, noswitch, switch: the
    // battery switch), what an automation hears (meeting, unmeeting, battery, mains, unknown: the
    // power source), a new engine (fresh, noprofile: started without one), wait (30 s) or the
    // clock: night (23:00), day (09:00) or HH:MM, +N for N days on, each an evaluation of the
    // quiet hours.
    std::string after(std::string_view script) {
        const std::map<std::string, std::function<void()>> moves{
            {"quiet", [&] { engine->selectPreset(FanPreset::quiet); }},
            {"auto", [&] { engine->selectPreset(FanPreset::auto_); }},
            {"max", [&] { engine->selectPreset(FanPreset::max); }},
            {"blast", [&] { engine->selectProfile(FanProfile::maxThermalBlast()); }},
            {"mode",
             [&] {
                 engine->addCustomMode(CustomMode::renderingTemplate());
                 engine->selectCustomMode(CustomMode::renderingTemplate().id);
             }},
            {"shape",
             [&] {
                 engine->selectProfile(FanProfile{.id = Uuid::random(),
                                                  .name = "Turbo",
                                                  .mode = ControlMode::constantRPM,
                                                  .constantTargetRPM = FanProfile::unlimitedRPM,
                                                  .targetSensorGroupID = "max",
                                                  .curvePoints = {}});
             }},
            {"turbo", [&] { engine->engageTurbo(); }},
            {"unturbo", [&] { engine->disengageTurbo(); }},
            {"manual", [&] { engine->enterManualControl(); }},
            {"target", [&] { engine->setFanTarget(0, 3000.0); }},
            {"cooldown", [&] { engine->startCooldown(60.0); }},
            {"cancel", [&] { engine->cancelCooldown(); }},
            {"hoursoff", [&] { engine->setQuietHoursEnabled(false); }},
            {"hourson", [&] { engine->setQuietHoursEnabled(true); }},
            {"short", [&] { engine->setQuietHoursEnd(23 * 60); }},
            {"noswitch", [&] { engine->setAutoSwitchOnBattery(false); }},
            {"switch", [&] { engine->setAutoSwitchOnBattery(true); }},
            {"dust", [&] { engine->startDustCycle(); }},
            {"meeting", [&] { engine->evaluateMeetingQuiet(true); }},
            {"unmeeting", [&] { engine->evaluateMeetingQuiet(false); }},
            {"battery", [&] { onBattery(true); }},
            {"mains", [&] { onBattery(false); }},
            {"unknown",
             [&] { engine->updatePowerTelemetry(PowerTelemetry{.source = PowerSource::unknown}); }},
            {"fresh", [&] { makeEngine(); }},
            {"noprofile", [&] { makeEngine(std::nullopt); }},
            {"wait", [&] { timers.advance(30.0); }},
            {"night", [&] { engine->evaluateQuietHours(localTime(23, 0)); }},
            {"day", [&] { engine->evaluateQuietHours(localTime(9, 0)); }},
        };
        std::istringstream words{std::string(script)};
        for (std::string word; words >> word;) {
            int hour = 0;
            int minute = 0;
            int days = 0;
            if (const auto move = moves.find(word); move != moves.end()) {
                move->second();
            } else if (std::sscanf(word.c_str(), "%d:%d+%d", &hour, &minute, &days) >= 2) {
                engine->evaluateQuietHours(localTime(hour, minute, days));
            } else {
                ADD_FAILURE() << "no move " << word;
            }
        }
        return state();
    }

    // A new engine on settings as they were at the start, with the fixture's fakes.
    void restart() {
        settings.clear();
        SetUp();
    }

    void onBattery(bool battery) {
        engine->updatePowerTelemetry(
            PowerTelemetry{.source = battery ? PowerSource::battery : PowerSource::ac});
    }

protected:
    std::vector<FanStatus> fans{fan(0, 2000.0), fan(1, 0.0)};
};

} // namespace halvoren
