#include "automation_fixture.h"

#include <array>
#include <string_view>

namespace halvoren {
namespace {

using Step = void (*)(AutomationTest&, HalvorenEngine&);

struct Named {
    std::string_view name;
    Step step;
};

// What is already on, each reached from a plain profile.
const std::array<Named, 8> states{{
    {"profile", [](AutomationTest&, HalvorenEngine&) {}},
    {"preset", [](AutomationTest&, HalvorenEngine& e) { e.selectPreset(FanPreset::auto_); }},
    {"manual", [](AutomationTest&, HalvorenEngine& e) { e.enterManualControl(); }},
    {"turbo", [](AutomationTest&, HalvorenEngine& e) { e.engageTurbo(); }},
    {"cooldown", [](AutomationTest&, HalvorenEngine& e) { e.startCooldown(60.0); }},
    {"dust", [](AutomationTest&, HalvorenEngine& e) { e.startDustCycle(); }},
    {"quiet hours", [](AutomationTest& t, HalvorenEngine&) { t.night(); }},
    {"meeting", [](AutomationTest&, HalvorenEngine& e) { e.evaluateMeetingQuiet(true); }},
}};

const std::array<Named, 8> starters{{
    {"engageTurbo", [](AutomationTest&, HalvorenEngine& e) { e.engageTurbo(); }},
    {"enterManualControl", [](AutomationTest&, HalvorenEngine& e) { e.enterManualControl(); }},
    {"startDustCycle", [](AutomationTest&, HalvorenEngine& e) { e.startDustCycle(); }},
    {"startCooldown", [](AutomationTest&, HalvorenEngine& e) { e.startCooldown(60.0); }},
    {"quiet window starts", [](AutomationTest& t, HalvorenEngine&) { t.night(); }},
    {"meeting starts", [](AutomationTest&, HalvorenEngine& e) { e.evaluateMeetingQuiet(true); }},
    {"on battery", [](AutomationTest& t, HalvorenEngine&) { t.onBattery(true); }},
    {"user selects Max", [](AutomationTest&, HalvorenEngine& e) { e.selectPreset(FanPreset::max); }},
}};

constexpr std::string_view HS = "Halvoren Standard";
constexpr std::string_view SS = "Silent Stealth";
constexpr std::string_view MAX = "max/Max Thermal Blast";

std::string on(std::string_view flags, std::string_view rest) {
    return std::string(flags) + std::string(rest);
}

// expected[starter][state], in the order of the two lists above.
const std::array<std::array<std::string, 8>, 8> expected{{
    // engageTurbo: refused only by Turbo; leaves manual; dust and meeting memory stay.
    {"turbo -/Turbo", "turbo -/Turbo", "turbo -/Turbo", "turbo -/Turbo", "turbo cooling -/Turbo",
     "turbo dust -/Turbo", "turbo -/Turbo", "turbo meeting -/Turbo"},
    // enterManualControl: cancels Turbo and cooldown, drops preset and profile; dust goes on.
    {"manual -/none", "manual -/none", "manual -/none", "manual -/none", "manual -/none",
     "manual dust -/none", "manual -/none", "manual meeting -/none"},
    // startDustCycle: refused under manual control and Turbo; changes nothing else.
    {on("dust -/", HS), on("dust auto/", HS), "manual -/none", "turbo -/Turbo", "turbo cooling -/Turbo",
     on("dust -/", HS), on("dust quiet/", SS), on("dust meeting quiet/", SS)},
    // startCooldown: engages Turbo or joins it.
    {"turbo cooling -/Turbo", "turbo cooling -/Turbo", "turbo cooling -/Turbo", "turbo cooling -/Turbo",
     "turbo cooling -/Turbo", "turbo cooling dust -/Turbo", "turbo cooling -/Turbo",
     "turbo cooling meeting -/Turbo"},
    // Quiet hours: refused under manual control and Turbo, and when Quiet is on already.
    {on("quiet/", SS), on("quiet/", SS), "manual -/none", "turbo -/Turbo", "turbo cooling -/Turbo",
     on("dust quiet/", SS), on("quiet/", SS), on("meeting quiet/", SS)},
    // Meeting quiet: the same refusals.
    {on("meeting quiet/", SS), on("meeting quiet/", SS), "manual -/none", "turbo -/Turbo",
     "turbo cooling -/Turbo", on("dust meeting quiet/", SS), on("quiet/", SS), on("meeting quiet/", SS)},
    // Battery switch: only a plain profile gives way; a preset takes its battery cap.
    {on("-/", SS), on("auto/", HS), "manual -/none", "turbo -/Turbo", "turbo cooling -/Turbo",
     on("dust -/", SS), on("quiet/", SS), on("meeting quiet/", SS)},
    // A user's choice ends manual control, Turbo and the cooldown, never the dust cycle.
    {std::string(MAX), std::string(MAX), std::string(MAX), std::string(MAX), std::string(MAX),
     on("dust ", MAX), std::string(MAX), on("meeting ", MAX)},
}};

TEST_F(AutomationTest, EachStarterAgainstEachStateAlreadyOn) {
    for (std::size_t s = 0; s < states.size(); ++s) {
        for (std::size_t a = 0; a < starters.size(); ++a) {
            SCOPED_TRACE(std::string(starters[a].name) + " while " + std::string(states[s].name) + " is on");
            TearDown();
            SetUp();
            states[s].step(*this, *engine);
            starters[a].step(*this, *engine);
            EXPECT_EQ(state(), expected[a][s]);
        }
    }
}

} // namespace
} // namespace halvoren
