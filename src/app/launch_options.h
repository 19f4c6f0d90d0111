#pragma once

#include "core/fan_profile.h"

#include <QStringList>
#include <optional>
#include <stdexcept>
#include <string>

namespace halvoren {

// The command line of `halvoren`.
// Grouped by meaning rather than packed: there is one per run.
struct LaunchOptions { // NOLINT(clang-analyzer-optin.performance.Padding)
    bool headless = false;
    // The window's arguments; with --headless they are accepted and change nothing.
    std::optional<std::string> appearance;      // "light" or "dark": forced instead of the desktop's
    bool previewPanel = false;                  // open the "Panel Preview" window after start
    std::optional<std::string> backdrop;        // a backdrop scene's name for this run only
    std::optional<std::string> simulateProfile; // set: run on a simulated Mac of this profile
    bool noHelper = false;     // the simulated Mac without its fan-control helper, as where none is installed
    std::string load = "host"; // the simulated machine's load scenario
    std::optional<FanPreset> preset;         // selected once the helper is connected
    std::optional<double> duration;          // seconds; then the fans go back and the program ends
    bool statusJson = false;                 // one JSON line of status per second on stdout
    std::optional<std::string> settingsPath; // a settings file instead of the user's own
    // A real machine only: where the controller's hwmon devices are instead of /sys/class/hwmon,
    // and the socket of a helper started by hand instead of the installed one's.
    std::optional<std::string> sysfsRoot;
    std::optional<std::string> helperSocket;
    // At most one action, started once the helper is connected and the fans are known, after
    // the preset.
    bool turbo = false;
    std::optional<double> cooldown;  // seconds of Turbo, then back
    std::optional<double> manualRPM; // every fan held at this speed
    bool dustCycle = false;
    std::optional<std::string> exportCsvPath; // the last minute of history, written at the end
};

struct CommandLine {
    LaunchOptions options;
    bool helpRequested = false;
    std::string helpText;
};

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

inline constexpr const char* defaultSimulatedMachine = "apple-silicon-laptop-2fan";

// `arguments` without the program's name. Throws UsageError with a message fit for
// the user.
CommandLine parseCommandLine(const QStringList& arguments);

} // namespace halvoren
