#include "app/headless_options.h"

#include <gtest/gtest.h>

namespace halvoren {
namespace {

HeadlessOptions parse(std::initializer_list<const char*> arguments) {
    QStringList list;
    for (const char* argument : arguments) {
        list << QString::fromUtf8(argument);
    }
    return parseHeadlessCommandLine(list).options;
}

std::string failure(std::initializer_list<const char*> arguments) {
    try {
        parse(arguments);
    } catch (const HeadlessUsageError& error) {
        return error.what();
    }
    return "no error";
}

TEST(HeadlessOptions, ReadsEachOptionAndRefusesBadValues) {
    const HeadlessOptions plain = parse({"--headless"});
    EXPECT_TRUE(plain.headless);
    EXPECT_FALSE(plain.simulateProfile);
    EXPECT_FALSE(plain.preset);

    const HeadlessOptions simulated =
        parse({"--headless", "--simulate", "--preset", "auto", "--duration", "2.5", "--status-json"});
    EXPECT_EQ(simulated.simulateProfile, defaultSimulatedMachine);
    EXPECT_EQ(simulated.preset, FanPreset::auto_); // "auto" is the Balanced curve, not the firmware
    EXPECT_EQ(simulated.duration, 2.5);
    EXPECT_TRUE(simulated.statusJson);

    EXPECT_EQ(parse({"--simulate=intel-laptop", "--load", "burst"}).simulateProfile, "intel-laptop");
    EXPECT_EQ(parse({"--simulate=intel-laptop", "--load", "burst"}).load, "burst");

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
    EXPECT_TRUE(parseHeadlessCommandLine({QStringLiteral("--help")}).helpRequested);
}

} // namespace
} // namespace halvoren
