#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <sys/types.h>

namespace halvoren {

// What the daemon was asked to do on its command line.
struct HelperOptions {
    std::string socketPath;
    // The socket is in the default place, whose directory is the daemon's own: on every start it
    // is opened as far as the allowed users need.
    bool ownSocketDirectory = false;
    // Set by --simulate: the daemon hosts a simulated Mac of this profile (a built-in name or
    // a profile file) and serves its controller on smcSocketPath.
    std::optional<std::string> simulateProfile;
    // With --simulate, where the simulated controller is served; without it, a simulator's
    // socket to write the fans through. Empty: without --simulate, the real hardware.
    std::string smcSocketPath;
    // Users allowed besides the one who started the daemon, and root.
    std::set<uid_t> extraUids;
    // Groups whose members are allowed too, by name; resolved when the daemon starts.
    std::set<std::string> allowedGroups;
    std::string sysfsRoot = "/sys/class/hwmon";
};

struct HelperCommandLine {
    HelperOptions options;
    // --help was given: print `helpText` and exit.
    bool helpRequested = false;
    QString helpText;
};

class CommandLineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

inline constexpr const char* defaultSimulatedProfile = "apple-silicon-laptop-2fan";

// Parses the arguments, the program's name first. Defaults: the socket is
// /run/halvoren/helper.sock for root and halvoren/helper.sock in the user's runtime directory
// for anyone else; the simulated controller's socket is smc.sock beside it. Throws
// CommandLineError with a message for the user.
HelperCommandLine parseHelperCommandLine(const QStringList& arguments);

// The socket mode that lets every allowed user connect: 0600 when only the daemon's own user
// and root are allowed, else 0666, with the credential check as the real gate.
mode_t socketModeFor(const std::set<uid_t>& extraUids, uid_t self, bool groupsAllowed = false);

} // namespace halvoren
