#include "app/launch_options.h"

#include "core/json_support.h"

#include <QCommandLineParser>
#include <cmath>

namespace halvoren {

namespace {

// "--appearance=VALUE" anywhere wins over the bare form, whose value is the next argument; the
// first match of a form counts and a value other than light or dark changes nothing.
std::optional<std::string> appearanceArgument(const QStringList& arguments) {
    const QString prefix = QStringLiteral("--appearance=");
    std::optional<QString> value;
    for (const QString& argument : arguments) {
        if (argument.startsWith(prefix)) {
            value = argument.mid(prefix.size());
            break;
        }
    }
    if (!value) {
        const qsizetype bare = arguments.indexOf(QStringLiteral("--appearance"));
        if (bare >= 0 && bare + 1 < arguments.size()) {
            value = arguments[bare + 1];
        }
    }
    if (value == QStringLiteral("light") || value == QStringLiteral("dark")) {
        return value->toStdString();
    }
    return std::nullopt;
}

} // namespace

CommandLine parseCommandLine(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Halvoren: fan control and thermal readings for Mac computers."));
    const QCommandLineOption help({"h", "help"}, "Show this help.");
    const QCommandLineOption headless("headless", "Run the engine without a user interface.");
    // Shown in the help only; the loop below takes them out before the parser sees them.
    const QCommandLineOption appearanceOption("appearance", "Force the light or dark appearance.",
                                              "light|dark");
    const QCommandLineOption previewPanelOption("preview-panel", "Open the menu-bar panel in a window too.");
    const QCommandLineOption backdropOption("backdrop", "The backdrop scene for this run (--backdrop=NAME).",
                                            "name");
    const QCommandLineOption simulate(
        "simulate",
        QStringLiteral("Run on a simulated Mac; --simulate=PROFILE picks its machine (default %1).")
            .arg(QString::fromLatin1(defaultSimulatedMachine)));
    const QCommandLineOption noHelper(
        "no-helper", "With --simulate: start no fan-control helper, as on a Mac where none is installed.");
    const QCommandLineOption load(
        "load", "The simulated machine's load: idle, burst, sustained or host (default).", "scenario");
    const QCommandLineOption preset(
        "preset", "Select a preset once the helper is connected: quiet, auto or max.", "preset");
    const QCommandLineOption duration("duration", "Hand the fans back and stop after this many seconds.",
                                      "seconds");
    const QCommandLineOption statusJson("status-json", "Print one line of status as JSON every second.");
    const QCommandLineOption settings("settings", "Keep settings in this file instead of the user's own.",
                                      "path");
    const QCommandLineOption turbo("turbo", "Engage Turbo once the fans are known.");
    const QCommandLineOption cooldown(
        "cooldown", "Run a cooldown of this many seconds once the fans are known.", "seconds");
    const QCommandLineOption manual("manual", "Hold every fan at this speed once the fans are known.", "rpm");
    const QCommandLineOption dustCycle("dust-cycle", "Run a dust cycle once the fans are known.");
    const QCommandLineOption exportCsv(
        "export-csv", "At the end, write the last minute of history as CSV to this file.", "path");
    const QCommandLineOption sysfsRoot(
        "sysfs-root", "Find the controller's hwmon devices under this directory instead of /sys/class/hwmon.",
        "path");
    const QCommandLineOption helperSocket(
        "helper-socket", "Connect to a fan-control helper listening on this socket instead of the system's.",
        "path");
    parser.addOptions({help, headless, appearanceOption, previewPanelOption, backdropOption, simulate,
                       noHelper, load, preset, duration, statusJson, settings, turbo, cooldown, manual,
                       dustCycle, exportCsv, sysfsRoot, helperSocket});

    // The parser knows no options with an optional value, so --simulate=PROFILE is split here,
    // and the window's arguments, whose forms it cannot express, are taken out.
    QStringList plain{QStringLiteral("halvoren")}; // the parser skips the program's name
    std::optional<std::string> profile;
    std::optional<std::string> backdrop;
    bool previewPanel = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (argument.startsWith(QStringLiteral("--appearance="))) {
            continue;
        }
        if (argument == QStringLiteral("--appearance")) {
            // Its value goes with it, unless it is the next option.
            if (i + 1 < arguments.size() && !arguments[i + 1].startsWith(QStringLiteral("--"))) {
                ++i;
            }
            continue;
        }
        if (argument == QStringLiteral("--preview-panel")) {
            previewPanel = true;
            continue;
        }
        if (argument.startsWith(QStringLiteral("--backdrop="))) {
            backdrop =
                argument.mid(static_cast<qsizetype>(std::string_view("--backdrop=").size())).toStdString();
            continue;
        }
        if (argument.startsWith(QStringLiteral("--simulate="))) {
            profile =
                argument.mid(static_cast<qsizetype>(std::string_view("--simulate=").size())).toStdString();
            if (profile->empty()) {
                throw UsageError("--simulate= needs a machine profile");
            }
            plain.append(QStringLiteral("--simulate"));
        } else {
            plain.append(argument);
        }
    }
    if (!parser.parse(plain)) {
        throw UsageError(parser.errorText().toStdString());
    }
    if (!parser.positionalArguments().isEmpty()) {
        throw UsageError("unexpected argument \"" + parser.positionalArguments().first().toStdString() +
                         "\"");
    }

    CommandLine result;
    if (parser.isSet(help)) {
        result.helpRequested = true;
        result.helpText = parser.helpText().toStdString();
        return result;
    }
    LaunchOptions& options = result.options;
    options.headless = parser.isSet(headless);
    options.appearance = appearanceArgument(arguments);
    options.previewPanel = previewPanel;
    options.backdrop = std::move(backdrop);
    if (parser.isSet(simulate)) {
        options.simulateProfile = profile.value_or(defaultSimulatedMachine);
    }
    options.noHelper = parser.isSet(noHelper);
    if (options.noHelper && !options.simulateProfile) {
        throw UsageError("--no-helper is for the simulated Mac (--simulate)");
    }
    if (parser.isSet(load)) {
        options.load = parser.value(load).toStdString();
    }
    if (parser.isSet(preset)) {
        const std::string text = parser.value(preset).toStdString();
        options.preset = fromRawValue<FanPreset>(text);
        if (!options.preset) {
            throw UsageError("unknown preset \"" + text + "\" (quiet, auto or max)");
        }
    }
    const auto positive = [&](const QCommandLineOption& option, const char* what) -> std::optional<double> {
        if (!parser.isSet(option)) {
            return std::nullopt;
        }
        bool ok = false;
        const double value = parser.value(option).toDouble(&ok);
        if (!ok || !std::isfinite(value) || value <= 0.0) {
            throw UsageError("--" + option.names().first().toStdString() + " needs a positive " + what);
        }
        return value;
    };
    options.duration = positive(duration, "number of seconds");
    options.cooldown = positive(cooldown, "number of seconds");
    options.manualRPM = positive(manual, "speed in RPM");
    options.turbo = parser.isSet(turbo);
    options.dustCycle = parser.isSet(dustCycle);
    if (int(options.turbo) + int(options.cooldown.has_value()) + int(options.manualRPM.has_value()) +
            int(options.dustCycle) >
        1) {
        throw UsageError("--turbo, --cooldown, --manual and --dust-cycle exclude each other");
    }
    options.statusJson = parser.isSet(statusJson);
    if (parser.isSet(exportCsv)) {
        options.exportCsvPath = parser.value(exportCsv).toStdString();
    }
    if (parser.isSet(settings)) {
        options.settingsPath = parser.value(settings).toStdString();
    }
    // The simulated Mac brings its own controller and helper, so these would change nothing there.
    for (const auto* option : {&sysfsRoot, &helperSocket}) {
        if (!parser.isSet(*option)) {
            continue;
        }
        const std::string name = "--" + option->names().first().toStdString();
        if (options.simulateProfile) {
            throw UsageError(name + " is for a real machine, not with --simulate");
        }
        const std::string value = parser.value(*option).toStdString();
        if (value.empty()) {
            throw UsageError(name + " needs a path");
        }
        (option == &sysfsRoot ? options.sysfsRoot : options.helperSocket) = value;
    }
    return result;
}

} // namespace halvoren
