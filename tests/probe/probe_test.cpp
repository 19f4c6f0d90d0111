#include "probe/probe_options.h"
#include "probe/probe_report.h"
#include "probe/probe_source.h"
#include "sim/simulated_mac.h"
#include "sim/simulated_smc_transport.h"
#include "smc/smc_socket_server.h"

#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace halvoren::probe {
namespace {

TEST(ProbeOptions, SourcesFlagsAndNamedMistakes) {
    EXPECT_EQ(parseOptions({}).options.value().source, Options::Source::system);
    const auto simulated = parseOptions({"--simulate", "--json"}).options;
    ASSERT_TRUE(simulated);
    EXPECT_EQ(simulated->source, Options::Source::simulated);
    EXPECT_EQ(simulated->profile, "apple-silicon-laptop-2fan");
    EXPECT_TRUE(simulated->json);
    EXPECT_EQ(parseOptions({"--simulate=intel-laptop"}).options.value().profile, "intel-laptop");
    EXPECT_EQ(parseOptions({"--smc-socket", "/tmp/x.sock"}).options.value().smcSocket, "/tmp/x.sock");
    EXPECT_EQ(parseOptions({"--smc-socket=/tmp/y.sock"}).options.value().smcSocket, "/tmp/y.sock");

    const std::pair<std::vector<std::string>, std::string> mistakes[] = {
        {{"--smc-socket"}, "--smc-socket needs a path"},
        {{"--smc-socket="}, "--smc-socket needs a path"},
        {{"--simulate="}, "--simulate= needs a profile name or file"},
        {{"--simulate", "--smc-socket", "p"}, "choose one of --simulate and --smc-socket"},
        {{"--frobnicate"}, "unknown argument: --frobnicate"},
    };
    for (const auto& [arguments, error] : mistakes) {
        EXPECT_EQ(parseOptions(arguments).error, error) << arguments[0];
    }
}

TEST(ProbeSource, ReadsEverySimulatedProfileAndASimulatorServedOverItsSocket) {
    for (const auto& name : MachineProfile::builtInNames()) {
        const auto result = runProbe(parseOptions({"--simulate=" + name}).options.value());
        ASSERT_TRUE(std::holds_alternative<Report>(result)) << name;
        const auto& report = std::get<Report>(result);
        EXPECT_NE(report.source.find(name), std::string::npos);
        EXPECT_FALSE(report.sensors.empty()) << name;
        EXPECT_EQ(report.fans.empty(), name.find("fanless") != std::string::npos) << name;
        for (const auto& fan : report.fans) {
            EXPECT_LT(fan.minRPM, fan.maxRPM) << name;
        }
    }

    ManualClock clock;
    SimulatedSMCTransport backend(std::make_shared<SimulatedMac>(
        *MachineProfile::builtIn("apple-silicon-desktop-1fan"), clock, 7, idleLoad()));
    QTemporaryDir dir;
    SMCSocketServer server(backend, dir.filePath("smc.sock").toStdString());
    server.start();
    const auto result = runProbe(parseOptions({"--smc-socket", server.path()}).options.value());
    ASSERT_TRUE(std::holds_alternative<Report>(result));
    EXPECT_EQ(std::get<Report>(result).fans.size(), 1U);
    EXPECT_FALSE(std::get<Report>(result).sensors.empty());

    // Unknown profiles and missing sockets fail with a reason.
    const auto failure = [](const std::vector<std::string>& arguments) {
        const auto failed = runProbe(parseOptions(arguments).options.value());
        return std::holds_alternative<ProbeFailure>(failed) ? std::get<ProbeFailure>(failed).message : "none";
    };
    EXPECT_NE(failure({"--simulate=no-such-machine"}).find("apple-silicon-laptop-2fan"), std::string::npos);
    EXPECT_NE(failure({"--smc-socket", dir.filePath("absent.sock").toStdString()}).find("openFailed"),
              std::string::npos);
}

TEST(ProbeReport, TextAndJsonForms) {
    Report report;
    report.source = "test";
    report.sensors.push_back(
        SMCSensor{"TC0P", "TC0P", "CPU P", SensorCategory::cpu, 45.25, SensorClass::temperature, "°C"});
    report.fans.push_back(FanStatus{0, 0.0, 1200, 5800, 1500, true, false});

    // An invalid speed read is "unreadable", never 0 RPM.
    const std::string text = formatText(report);
    for (const char* part : {"Sensors (1)", "TC0P  CPU P", "45.25  °C", "unreadable", "yes"}) {
        EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
    }

    const auto document = nlohmann::json::parse(formatJson(report));
    EXPECT_EQ(document["source"], "test");
    EXPECT_EQ(document["sensors"][0]["name"], "CPU P");
    EXPECT_EQ(document["fans"][0]["currentRPMValid"], false);
    EXPECT_EQ(document["fans"][0]["isManaged"], true);
}

// The report forms and the sources are tested above; the program adds the exit status.
TEST(ProbeProgram, RejectsBadArgumentsWithUsageStatus) {
    QProcess probe;
    probe.start(QStringLiteral(HALVOREN_PROBE_BINARY), {"--nonsense"});
    ASSERT_TRUE(probe.waitForFinished(20000));
    EXPECT_EQ(probe.exitCode(), 64);
    EXPECT_TRUE(probe.readAllStandardError().contains("unknown argument: --nonsense"));
}

} // namespace
} // namespace halvoren::probe
