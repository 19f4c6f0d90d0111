#include "helper/helper_options.h"

#include "core/helper_constants.h"

#include <QCommandLineParser>
#include <QStandardPaths>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace halvoren {
namespace {

std::string defaultSocketPath() {
    if (::geteuid() == 0) {
        return std::string(HelperConstants::systemSocketPath);
    }
    // $XDG_RUNTIME_DIR, or a private directory Qt makes when it is not set.
    const QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    return (std::filesystem::path(runtime.toStdString()) / "halvoren" / "helper.sock").string();
}

uid_t parseUid(const QString& text) {
    bool ok = false;
    const qulonglong value = text.toULongLong(&ok, 10);
    // (uid_t)-1 means "no user" to the system calls.
    if (!ok || value >= static_cast<qulonglong>(static_cast<uid_t>(-1))) {
        throw CommandLineError("--allow-uid takes a numeric user id, not \"" + text.toStdString() + "\"");
    }
    return static_cast<uid_t>(value);
}

} // namespace

HelperCommandLine parseHelperCommandLine(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "The privileged fan-control helper of Halvoren: serves fan writes on a Unix socket and hands every "
        "fan back to the firmware when its clients go away.");
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption socket(
        "socket",
        "Where to listen (default: /run/halvoren/helper.sock for root, else halvoren/helper.sock in "
        "$XDG_RUNTIME_DIR).",
        "path");
    const QCommandLineOption simulate(
        "simulate",
        QStringLiteral("Drive a simulated Mac instead of the hardware; --simulate=PROFILE picks its "
                       "machine profile (default %1).")
            .arg(defaultSimulatedProfile));
    const QCommandLineOption smcSocket(
        "smc-socket",
        "With --simulate, where to serve the simulated controller (default: smc.sock beside the socket); "
        "without it, drive the simulator that serves this path.",
        "path");
    const QCommandLineOption allowUid(
        "allow-uid",
        "Also let this user control the fans (repeatable). Root and the user who "
        "started the helper are always allowed.",
        "uid");
    const QCommandLineOption allowGroup(
        "allow-group", "Also let the members of this group control the fans (repeatable).", "name");
    const QCommandLineOption sysfsRoot("sysfs-root",
                                       "Where to look for hwmon devices (default /sys/class/hwmon).", "path");
    parser.addOptions({socket, simulate, smcSocket, allowUid, allowGroup, sysfsRoot});

    // The parser has no options with an optional value, so --simulate=PROFILE is split here.
    QStringList plain;
    std::optional<std::string> profile;
    for (const QString& argument : arguments) {
        if (argument.startsWith("--simulate=")) {
            profile =
                argument.mid(static_cast<qsizetype>(std::string_view("--simulate=").size())).toStdString();
            if (profile->empty()) {
                throw CommandLineError("--simulate= needs a profile name");
            }
            plain.append("--simulate");
        } else {
            plain.append(argument);
        }
    }
    if (!parser.parse(plain)) {
        throw CommandLineError(parser.errorText().toStdString());
    }
    if (!parser.positionalArguments().isEmpty()) {
        throw CommandLineError("unexpected argument \"" + parser.positionalArguments().first().toStdString() +
                               "\"");
    }

    HelperCommandLine result;
    if (parser.isSet(help)) {
        result.helpRequested = true;
        result.helpText = parser.helpText();
        return result;
    }
    HelperOptions& options = result.options;
    options.ownSocketDirectory = !parser.isSet(socket);
    options.socketPath = parser.isSet(socket) ? parser.value(socket).toStdString() : defaultSocketPath();
    if (options.socketPath.empty()) {
        throw CommandLineError("--socket needs a path");
    }
    if (parser.isSet(simulate)) {
        options.simulateProfile = profile.value_or(defaultSimulatedProfile);
    }
    if (parser.isSet(smcSocket)) {
        options.smcSocketPath = parser.value(smcSocket).toStdString();
    } else if (options.simulateProfile) {
        options.smcSocketPath =
            (std::filesystem::path(options.socketPath).parent_path() / "smc.sock").string();
    }
    for (const QString& text : parser.values(allowUid)) {
        options.extraUids.insert(parseUid(text));
    }
    for (const QString& name : parser.values(allowGroup)) {
        if (name.isEmpty()) {
            throw CommandLineError("--allow-group needs a group name");
        }
        options.allowedGroups.insert(name.toStdString());
    }
    if (parser.isSet(sysfsRoot)) {
        options.sysfsRoot = parser.value(sysfsRoot).toStdString();
    }
    return result;
}

mode_t socketModeFor(const std::set<uid_t>& extraUids, uid_t self, bool groupsAllowed) {
    if (groupsAllowed) {
        return S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
    }
    for (const uid_t uid : extraUids) {
        if (uid != self && uid != 0) {
            return S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
        }
    }
    return S_IRUSR | S_IWUSR;
}

} // namespace halvoren
