// The sysfs writers build only on Linux.
#if defined(__linux__)

#include "../smc/smc_test_support.h"
#include "../smc/temp_directory.h"
#include "helper/hardware_fan_writer.h"
#include "helper/process_signals.h"
#include "smc/linux/hwmon_directory.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace halvoren {
namespace {

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

} // namespace
} // namespace halvoren

#endif
