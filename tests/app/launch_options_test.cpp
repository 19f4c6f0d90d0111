#include "app/launch_options.h"

#include <gtest/gtest.h>

namespace halvoren {
namespace {

LaunchOptions parse(std::initializer_list<const char*> arguments) {
    QStringList list;
    for (const char* argument : arguments) {
        list << QString::fromUtf8(argument);
    }
    return parseCommandLine(list).options;
}

std::string failure(std::initializer_list<const char*> arguments) {
    try {
        parse(arguments);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "no error";
}

TEST(LaunchOptions, ReadsEachOptionAndRefusesBadValues) {
    const LaunchOptions plain = parse({"--headless"});
    EXPECT_TRUE(plain.headless);
    EXPECT_FALSE(plain.simulateProfile);
    EXPECT_FALSE(plain.preset);

    const LaunchOptions simulated =
        parse({"--headless", "--simulate", "--preset", "auto", "--duration", "2.5", "--status-json"});
    EXPECT_EQ(simulated.simulateProfile, defaultSimulatedMachine);
    EXPECT_EQ(simulated.preset, FanPreset::auto_); // "auto" is the Balanced curve, not the firmware
    EXPECT_EQ(simulated.duration, 2.5);
    EXPECT_TRUE(simulated.statusJson);

    const LaunchOptions loaded = parse({"--simulate=intel-laptop", "--load", "burst"});
    EXPECT_EQ(loaded.simulateProfile, "intel-laptop");
    EXPECT_EQ(loaded.load, "burst");

    EXPECT_EQ(failure({"--simulate="}), "--simulate= needs a machine profile");
    EXPECT_EQ(failure({"--preset", "loud"}), "unknown preset \"loud\" (quiet, auto or max)");
    EXPECT_EQ(failure({"--duration", "0"}), "--duration needs a positive number of seconds");
    EXPECT_EQ(failure({"--duration", "nan"}), "--duration needs a positive number of seconds");
    EXPECT_EQ(failure({"--headless", "extra"}), "unexpected argument \"extra\"");
    EXPECT_EQ(parse({"--cooldown", "60"}).cooldown, 60.0);
    EXPECT_EQ(parse({"--manual", "2400"}).manualRPM, 2400.0);
    EXPECT_TRUE(parse({"--dust-cycle", "--preset", "max"}).dustCycle);
    EXPECT_EQ(parse({"--export-csv", "/tmp/h.csv"}).exportCsvPath, "/tmp/h.csv");
    EXPECT_EQ(failure({"--manual", "-5"}), "--manual needs a positive speed in RPM");
    EXPECT_EQ(failure({"--turbo", "--dust-cycle"}),
              "--turbo, --cooldown, --manual and --dust-cycle exclude each other");
    EXPECT_NE(failure({"--no-such-option"}), "no error");
    EXPECT_TRUE(parse({"--simulate", "--no-helper"}).noHelper);
    EXPECT_EQ(failure({"--no-helper"}), "--no-helper is for the simulated Mac (--simulate)");
    EXPECT_TRUE(parseCommandLine({QStringLiteral("--help")}).helpRequested);
}

TEST(LaunchOptions, TheControllerTreeAndHelperSocketAreForARealMachine) {
    struct Case {
        std::initializer_list<const char*> arguments;
        std::optional<std::string> sysfsRoot;
        std::optional<std::string> helperSocket;
        std::string error = "no error";
    };
    const Case cases[] = {
        {{"--headless"}, std::nullopt, std::nullopt},
        {{"--sysfs-root", "/tmp/tree"}, "/tmp/tree", std::nullopt},
        {{"--helper-socket=/tmp/h.sock", "--sysfs-root=/tmp/tree"}, "/tmp/tree", "/tmp/h.sock"},
        {{"--sysfs-root", "/tmp/tree", "--simulate"},
         std::nullopt,
         std::nullopt,
         "--sysfs-root is for a real machine, not with --simulate"},
        {{"--simulate=intel-laptop", "--helper-socket", "/tmp/h.sock"},
         std::nullopt,
         std::nullopt,
         "--helper-socket is for a real machine, not with --simulate"},
        {{"--sysfs-root="}, std::nullopt, std::nullopt, "--sysfs-root needs a path"},
        {{"--helper-socket", ""}, std::nullopt, std::nullopt, "--helper-socket needs a path"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(failure(c.arguments), c.error) << *c.arguments.begin();
        if (c.error == "no error") {
            const LaunchOptions options = parse(c.arguments);
            EXPECT_EQ(options.sysfsRoot, c.sysfsRoot) << *c.arguments.begin();
            EXPECT_EQ(options.helperSocket, c.helperSocket) << *c.arguments.begin();
        }
    }
    // A value missing at the end is the parser's error, not an empty path.
    EXPECT_NE(failure({"--sysfs-root"}), "no error");
}

TEST(LaunchOptions, TheWindowsArgumentsInTheirTwoForms) {
    struct Case {
        std::initializer_list<const char*> arguments;
        std::optional<std::string> appearance;
    };
    const Case cases[] = {
        {{"--appearance=dark"}, "dark"},
        {{"--appearance", "light"}, "light"},
        {{"--appearance=dark", "--appearance", "light"}, "dark"}, // the form with "=" first
        {{"--appearance", "light", "--appearance=dark"}, "dark"},
        {{"--appearance=sepia"}, std::nullopt},
        {{"--appearance=sepia", "--appearance", "dark"}, std::nullopt}, // the first match counts
        {{"--simulate", "--appearance"}, std::nullopt},                 // bare at the end: ignored
        {{"--appearance", "--simulate"}, std::nullopt},                 // the next option is no value
    };
    for (const Case& c : cases) {
        EXPECT_EQ(parse(c.arguments).appearance, c.appearance) << *c.arguments.begin();
    }
    // The bare form's value is taken out with it, and the option after it still counts.
    EXPECT_TRUE(parse({"--appearance", "--simulate"}).simulateProfile);
    EXPECT_EQ(failure({"--appearance", "sepia", "extra"}), "unexpected argument \"extra\"");
    const LaunchOptions window = parse({"--preview-panel", "--backdrop=nebula", "--simulate"});
    EXPECT_TRUE(window.previewPanel);
    EXPECT_EQ(window.backdrop, "nebula");
    EXPECT_FALSE(parse({"--simulate"}).previewPanel);
}

} // namespace
} // namespace halvoren
