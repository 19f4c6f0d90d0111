// The fan writers: controller keys against a simulated Mac of each generation, and on Linux the
// sysfs files of applesmc and other hwmon drivers.

#include "../sim/sim_test_support.h"
#include "../smc/smc_test_support.h"
#include "../smc/temp_directory.h"
#include "helper/smc_fan_writer.h"
#include "sim/simulated_smc_transport.h"
#if defined(__linux__)
#include "helper/hardware_fan_writer.h"
#include "helper/process_signals.h"
#include "smc/linux/hwmon_directory.h"
#endif

#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace halvoren {
namespace {

struct Rig {
    explicit Rig(MachineProfile profile)
        : mac(std::make_shared<SimulatedMac>(std::move(profile), clock, 1, idleLoad())) {}

    std::vector<bool> forced() { return test::forcedFans(*mac); }
    double read(const std::string& key) { return test::Exchange{*mac}.read(key); }

    // setTarget until the system has let go of the fan, in half-second steps of model time.
    double force(int fan, double rpm) {
        for (int attempt = 0; attempt < 40; ++attempt) {
            try {
                return writer.setTarget(fan, rpm);
            } catch (const FanWritePending&) {
                clock.advance(0.5);
            }
        }
        ADD_FAILURE() << "fan " << fan << " stayed pending";
        return 0.0;
    }

    ManualClock clock;
    std::shared_ptr<SimulatedMac> mac;
    std::shared_ptr<SMCKernelBridge> bridge =
        std::make_shared<SMCKernelBridge>(std::make_unique<SimulatedSMCTransport>(mac));
    SMCFanWriter writer{bridge, "simulated", clock};
};

MachineProfile laptop() {
    return test::builtIn("apple-silicon-laptop-2fan");
}

TEST(SMCFanWriter, ForcesVerifiesAndHandsBackOnEveryGeneration) {
    struct Generation {
        const char* name;
        MachineProfile profile;
        FanControl kind;
        const char* switchKey; // "FS! " or "Ftst"; none for the mode key alone
    };
    const Generation generations[] = {
        {"Intel before the T2", test::builtIn("intel-laptop"), FanControl::forceBits, "FS! "},
        {"M1", laptop(), FanControl::modeKey, nullptr},
        {"M2 to M4", test::asGeneration(laptop(), false, true), FanControl::unlockModeKey, "Ftst"},
        {"M5", test::asGeneration(laptop(), true, false), FanControl::modeKey, nullptr},
    };
    for (const auto& generation : generations) {
        SCOPED_TRACE(generation.name);
        Rig rig(generation.profile);
        ASSERT_EQ(rig.writer.protocol().kind, generation.kind);
        const auto switchReads = [&] { return generation.switchKey ? rig.read(generation.switchKey) : 0.0; };

        EXPECT_EQ(rig.force(0, 3000.0), 3000.0);
        EXPECT_EQ(rig.force(1, 4000.0), 4000.0);
        EXPECT_EQ(rig.forced(), (std::vector<bool>{true, true}));
        EXPECT_EQ(rig.mac->fans()[1].target, 4000.0);
        const double bothForced = switchReads(); // FS! 3, Ftst 1

        // One fan back leaves the other as it was, and its switch bit or Ftst with it.
        rig.writer.setAutomatic(0);
        EXPECT_EQ(rig.forced(), (std::vector<bool>{false, true}));
        EXPECT_EQ(switchReads(), generation.kind == FanControl::forceBits ? 2.0 : bothForced);
        rig.writer.setAutomatic(1);
        EXPECT_EQ(rig.forced(), (std::vector<bool>{false, false}));
        EXPECT_EQ(switchReads(), 0.0);

        // A new run clears what an earlier one left forced.
        EXPECT_EQ(rig.force(0, 2500.0), 2500.0);
        EXPECT_EQ(rig.force(1, 2500.0), 2500.0);
        SMCFanWriter(rig.bridge, "next run", rig.clock).restoreAutomatic();
        EXPECT_EQ(rig.forced(), (std::vector<bool>{false, false}));
        EXPECT_EQ(switchReads(), 0.0);
    }
}

TEST(SMCFanWriter, UnlockWaitsForTheSystemWithoutBlockingAndGivesUpAfterTheDeadline) {
    Rig rig(test::asGeneration(laptop(), false, true));
    EXPECT_EQ(thrownMessage<FanWritePending>([&] { rig.writer.setTarget(0, 3000.0); }),
              "fan 0 is being released by the system's thermal control");
    EXPECT_EQ(rig.read("Ftst"), 1.0);
    EXPECT_EQ(rig.read("F0Md"), 3.0);
    rig.clock.advance(3.9);
    EXPECT_THROW(rig.writer.setTarget(0, 3000.0), FanWritePending);
    rig.clock.advance(0.1);
    EXPECT_EQ(rig.writer.setTarget(0, 3000.0), 3000.0);
    EXPECT_EQ(rig.read("F0Md"), 1.0);
    // Released, the other fan needs no wait of its own.
    EXPECT_EQ(rig.writer.setTarget(1, 3500.0), 3500.0);

    // Taken back by the system (someone cleared Ftst): the next write starts over.
    test::Exchange{*rig.mac}.write("Ftst", 0);
    EXPECT_THROW(rig.writer.setTarget(0, 3000.0), FanWritePending);
    EXPECT_EQ(rig.read("Ftst"), 1.0);

    // A system that never lets go: refused after the deadline, the unlock undone, and refused
    // at once, with no write, for the cool-off.
    auto stubborn = test::asGeneration(laptop(), false, true);
    stubborn.thermal.firmware.releaseDelay = 1000.0;
    Rig held(stubborn);
    EXPECT_THROW(held.writer.setTarget(1, 3000.0), FanWritePending);
    held.clock.advance(SMCFanWriter::releaseDeadline - 0.5);
    EXPECT_THROW(held.writer.setTarget(1, 3000.0), FanWritePending);
    held.clock.advance(0.5);
    const std::string refusal = "fan 1 cannot be forced: the system's thermal control did not let go of it "
                                "within 10.0 s of Ftst = 1";
    for (const double wait : {0.0, SMCFanWriter::coolOff - 0.1}) {
        held.clock.advance(wait);
        EXPECT_EQ(thrownMessage<FanWriteError>([&] { held.writer.setTarget(1, 3000.0); }), refusal);
        EXPECT_EQ(held.read("Ftst"), 0.0);
        EXPECT_EQ(held.writer.refusal(1), refusal) << "the daemon asks first and writes nothing";
    }
    held.clock.advance(0.1);
    EXPECT_EQ(held.writer.refusal(1), std::nullopt);
    EXPECT_THROW(held.writer.setTarget(1, 3000.0), FanWritePending) << "tried again after the cool-off";
}

TEST(SMCFanWriter, AControllerWithoutForcingKeysRefusesEveryWriteAndHasNothingToHandBack) {
    auto profile = laptop();
    std::erase_if(profile.keys,
                  [](const ProfileKey& key) { return key.name == "F0Md" || key.name == "F1Md"; });
    Rig rig(profile);
    EXPECT_EQ(rig.writer.protocol().kind, FanControl::none);
    EXPECT_THROW(rig.writer.setTarget(0, 3000.0), FanWriteError);
    EXPECT_NO_THROW(rig.writer.restoreAutomatic());
}

// The sysfs writers build only on Linux.
#if defined(__linux__)

using testing::TempDirectory;
using testing::writeFile;

std::string text(const std::filesystem::path& file) {
    return Hwmon::readText(file).value_or("<unreadable>");
}

TEST(AppleSMCFanWriter, DrivesTheDriversFanFiles) {
    TempDirectory root;
    testing::writeAppleSMCTree(root.path());
    const auto smc = root / "hwmon2";
    auto writer = openHardwareFanWriter(root.path());
    ASSERT_NE(writer, nullptr);
    EXPECT_EQ(writer->description(), "applesmc at " + smc.string());
    ASSERT_EQ(writer->fanCount(), 2);
    EXPECT_EQ(writer->limits(1).minimum, 1200.0);
    EXPECT_EQ(writer->limits(1).maximum, 5800.0);

    // Whole RPM only: what was written is what is reported.
    EXPECT_EQ(writer->setTarget(0, 2500.6), 2501.0);
    EXPECT_EQ(text(smc / "fan1_manual"), "1");
    EXPECT_EQ(text(smc / "fan1_output"), "2501");
    writer->restoreAutomatic();
    EXPECT_EQ(text(smc / "fan1_manual"), "0");
    EXPECT_EQ(text(smc / "fan2_manual"), "0");
    EXPECT_EQ(text(root / "hwmon0/pwm1_enable"), "5") << "the decoy is never touched";

    const auto handBack = writer->handBackFiles();
    ASSERT_EQ(handBack.size(), 2U);
    EXPECT_EQ(handBack[1], std::make_pair(smc / "fan2_manual", 0LL));

    // Failures name what failed; a missing limit is not guessed.
    std::filesystem::remove(smc / "fan2_max");
    EXPECT_THROW(writer->limits(1), FanWriteError);
    std::filesystem::remove(smc / "fan2_output");
    const auto failure = thrownMessage<FanWriteError>([&] { writer->setTarget(1, 2000); });
    EXPECT_NE(failure.find("fan2_output"), std::string::npos) << failure;
}

TEST(HwmonFanWriter, TakesTheFirstDeviceWithTargetChannelsAndRestoresTheirModes) {
    TempDirectory root;
    EXPECT_EQ(openHardwareFanWriter(root.path()), nullptr);
    // Read-only enable: not controllable.
    testing::writeFiles(root / "hwmon0", {"name=it87", "pwm1_enable=2", "fan1_target=0"});
    ::chmod((root / "hwmon0/pwm1_enable").c_str(), 0444);
    // Channel 1 has no target; 2 and 3 qualify, 3 was left forced by a helper that died.
    testing::writeFiles(root / "hwmon1", {"name=nct6775", "pwm1_enable=2", "pwm2_enable=5", "fan2_target=0",
                                          "fan2_min=300", "fan2_max=2400", "pwm3_enable=1", "fan3_target=0"});
    testing::writeFiles(root / "hwmon4", {"name=other", "pwm1_enable=2", "fan1_target=0"});
    const auto device = root / "hwmon1";

    auto writer = openHardwareFanWriter(root.path());
    ASSERT_NE(writer, nullptr);
    EXPECT_EQ(writer->description(), "hwmon at " + device.string());
    ASSERT_EQ(writer->fanCount(), 2);
    EXPECT_EQ(writer->limits(0).maximum, 2400.0);
    EXPECT_THROW(writer->limits(1), FanWriteError) << "fan3 has no limits";

    EXPECT_EQ(writer->setTarget(0, 1499.5), 1500.0);
    EXPECT_EQ(text(device / "pwm2_enable"), "1");
    EXPECT_EQ(text(device / "fan2_target"), "1500");
    writer->restoreAutomatic();
    EXPECT_EQ(text(device / "pwm2_enable"), "5");
    EXPECT_EQ(text(device / "pwm3_enable"), "2");
    EXPECT_EQ(text(device / "pwm1_enable"), "2");

    // applesmc wins whenever it is there.
    testing::writeAppleSMCTree(root.path());
    EXPECT_EQ(openHardwareFanWriter(root.path())->description(), "applesmc at " + (root / "hwmon2").string());
}

TEST(CrashHandBack, WritesTheFilesWhenTheProcessDies) {
    TempDirectory root;
    writeFile(root / "fan1_manual", "1");
    writeFile(root / "pwm2_enable", "1");
    EXPECT_DEATH(
        {
            installCrashHandBack({{root / "fan1_manual", 0}, {root / "pwm2_enable", 5}});
            std::abort();
        },
        "");
    EXPECT_EQ(text(root / "fan1_manual"), "0");
    EXPECT_EQ(text(root / "pwm2_enable"), "5");
}

#endif

} // namespace
} // namespace halvoren
