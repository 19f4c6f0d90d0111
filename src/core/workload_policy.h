#pragma once

#include <array>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace halvoren {

// How an application's identifier is compared with a row of the heavy-application table.
enum class IdentifierMatch {
    // Every identifier that starts with the row's text. Bundle identifiers carry editions and
    // versions after the product's name ("com.adobe.PremierePro.24" is Premiere Pro).
    prefix,
    // The row's text itself, or the text followed by a further dotted component. Linux names
    // (desktop ids, Flatpak ids, executable names) go on with a dash or letters only to name
    // another program: "blender-thumbnailer", "com.blackmagicdesign.resolve-Panels".
    component,
};

// One application that keeps the processor busy, and the fan floor it warrants while it runs,
// as a fraction of the fan's range.
struct HeavyApp {
    std::string_view identifier;
    double boost = 0.0;
    IdentifierMatch match = IdentifierMatch::prefix;
};

// The heavy applications running now, and the floor they ask for. Identifiers are bundle
// identifiers on macOS and desktop ids or executable names on Linux.
struct WorkloadPolicy {
    std::set<std::string> running;

    static constexpr std::array<HeavyApp, 9> heavyApps{{
        {"com.apple.dt.Xcode", 0.45, IdentifierMatch::prefix},
        {"com.apple.FinalCut", 0.55, IdentifierMatch::prefix},
        {"org.blenderfoundation.blender", 0.55, IdentifierMatch::prefix},
        {"com.adobe.PremierePro", 0.5, IdentifierMatch::prefix},
        {"com.blackmagic-design.DaVinciResolve", 0.55, IdentifierMatch::prefix},
        // The same applications on Linux. Blender: the Flatpak and Flathub desktop id, then the
        // desktop id of the distributions' and upstream packages, which is also the executable.
        {"org.blender.Blender", 0.55, IdentifierMatch::component},
        {"blender", 0.55, IdentifierMatch::component},
        // DaVinci Resolve: the desktop id its installer writes, then its executable.
        {"com.blackmagicdesign.resolve", 0.55, IdentifierMatch::component},
        {"resolve", 0.55, IdentifierMatch::component},
    }};

    // The largest boost of the rows that match `bundleID`; 0 when none does.
    static double boost(const std::string& bundleID);

    // Adds a heavy application; others are not kept.
    void appLaunched(const std::string& bundleID);
    void appTerminated(const std::string& bundleID);
    // Adds each heavy application of the list to those already running.
    void seed(const std::vector<std::string>& runningBundleIDs);

    // The largest boost among the running applications (they do not add up); 0 when none runs.
    double currentBoost() const;

    friend bool operator==(const WorkloadPolicy&, const WorkloadPolicy&) = default;
};

} // namespace halvoren
