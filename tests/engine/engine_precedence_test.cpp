#include "automation_fixture.h"

#include <array>
#include <string_view>

namespace halvoren {
namespace {

// What is already on, each reached from a plain profile, and what starts against it, as moves.
const std::array<std::string_view, 8> states{"",         "auto", "manual", "turbo",
                                             "cooldown", "dust", "night",  "meeting"};
const std::array<std::string_view, 8> starters{"turbo", "manual",  "dust",    "cooldown",
                                               "night", "meeting", "battery", "max"};

constexpr std::string_view HS = "Halvoren Standard";
constexpr std::string_view SS = "Silent Stealth";
constexpr std::string_view MAX = "max/Max Thermal Blast";

std::string on(std::string_view flags, std::string_view rest) {
    return std::string(flags) + std::string(rest);
}

TEST_F(AutomationTest, EachStarterAgainstEachStateAlreadyOn) {
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
    for (std::size_t s = 0; s < states.size(); ++s) {
        for (std::size_t a = 0; a < starters.size(); ++a) {
            SCOPED_TRACE(std::string(starters[a]) + " while '" + std::string(states[s]) + "' is on");
            TearDown();
            SetUp();
            EXPECT_EQ(after(std::string(states[s]) + " " + std::string(starters[a])), expected[a][s]);
        }
    }
}

} // namespace
} // namespace halvoren
