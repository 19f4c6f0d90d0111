#include "helper/fan_safety.h"
#include "helper_test_support.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <set>

namespace halvoren {
namespace {

// Two fans whose every write can be made to fail; records what reached the "hardware".
class FakeFanWriter final : public FanWriter {
public:
    std::string description() const override { return "fake"; }
    int fanCount() const override { return 2; }
    FanLimits limits(int fan) override {
        if (unreadableLimits) {
            throw FanWriteError("limits unreadable");
        }
        return fanLimits[static_cast<std::size_t>(fan)];
    }
    double setTarget(int fan, double rpm) override {
        ++targetWrites;
        forced[static_cast<std::size_t>(fan)] = true; // the mode goes first and succeeds
        if (failTarget) {
            throw FanWriteError("target refused");
        }
        return rpm;
    }
    void setAutomatic(int fan) override {
        ++handBacks;
        if (failHandBack.contains(fan)) {
            throw FanWriteError("fan " + std::to_string(fan) + " stuck");
        }
        forced[static_cast<std::size_t>(fan)] = false;
    }

    std::array<FanLimits, 2> fanLimits{{{1200, 5800}, {1300, 6300}}};
    bool unreadableLimits = false;
    bool failTarget = false;
    std::set<int> failHandBack;
    std::array<bool, 2> forced{};
    int targetWrites = 0;
    int handBacks = 0;
};

struct Rig {
    ManualClock clock;
    ManualTimerSource timers{clock};
    FakeFanWriter writer;
    FanSafety safety{writer, timers};
    HelperService service{writer, safety, clock};

    HelperReply::Outcome target(int fan, double rpm, ClientId client = 1) {
        return service
            .handle(client,
                    HelperRequest{.id = 1, .method = HelperMethod::setTargetRPM, .fan = fan, .rpm = rpm})
            .outcome;
    }
};

bool isFailure(const HelperReply::Outcome& outcome) {
    return std::holds_alternative<HelperReply::Failure>(outcome);
}

TEST(FanSafety, RetriesAFailedHandBackEverySecondButNeverTakesAFanFromItsNewOwner) {
    test::LogCapture log;
    Rig rig;
    rig.safety.clientGone(1); // nothing forced: nothing written
    EXPECT_EQ(rig.writer.handBacks, 0);

    ASSERT_FALSE(isFailure(rig.target(0, 3000)));
    ASSERT_FALSE(isFailure(rig.target(1, 3000)));
    rig.writer.failHandBack = {1};
    rig.safety.clientGone(1);
    EXPECT_FALSE(rig.writer.forced[0]);
    EXPECT_TRUE(rig.writer.forced[1]);
    EXPECT_EQ(rig.safety.owner(1), std::nullopt);

    rig.timers.advance(FanSafety::retryDelay); // fails again
    EXPECT_TRUE(rig.writer.forced[1]);
    rig.writer.failHandBack.clear();
    rig.timers.advance(FanSafety::retryDelay - 0.25);
    EXPECT_TRUE(rig.writer.forced[1]);
    rig.timers.advance(0.25);
    EXPECT_FALSE(rig.writer.forced[1]);
    EXPECT_FALSE(rig.safety.anyForced());
    EXPECT_EQ(rig.timers.pendingCount(), 0U) << "nothing forced, nothing to watch";
    EXPECT_EQ(test::LogCapture::count("Could not hand fan 1 back to the firmware (client 1 disconnected)"),
              1);
    EXPECT_EQ(test::LogCapture::count("Could not hand fan 1 back to the firmware (trying again"), 1);
    EXPECT_EQ(test::LogCapture::lines().filter("Handed fan").size(), 2);
    EXPECT_EQ(test::LogCapture::lines().last(),
              "Handed fan 1 back to the firmware: trying again after a failed hand-back");

    // A failed restore leaves every fan suspect; a fan a client then takes is that client's.
    rig.writer.failHandBack = {0};
    EXPECT_TRUE(rig.safety.restoreAll("test").has_value());
    rig.writer.failHandBack.clear();
    ASSERT_FALSE(isFailure(rig.target(0, 2500, 2)));
    rig.timers.advance(FanSafety::retryDelay);
    EXPECT_TRUE(rig.writer.forced[0]);
    EXPECT_EQ(rig.safety.owner(0), 2U);
    EXPECT_FALSE(rig.writer.forced[1]);
    EXPECT_EQ(test::LogCapture::lines().last(),
              "Handed fan 1 back to the firmware: trying again after a failed hand-back");
}

TEST(HelperService, WritesNothingItCannotVouchFor) {
    Rig rig;
    for (const double bad : {std::nan(""), std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity(), -1.0}) {
        EXPECT_TRUE(isFailure(rig.target(0, bad))) << bad;
    }
    rig.writer.unreadableLimits = true;
    EXPECT_EQ(rig.target(0, 3000), HelperReply::Outcome(HelperReply::Failure{"limits unreadable"}));
    rig.writer.unreadableLimits = false;
    rig.writer.fanLimits[1] = {6300, 1300}; // inverted
    EXPECT_TRUE(isFailure(rig.target(1, 3000)));
    EXPECT_EQ(rig.writer.targetWrites, 0);
    EXPECT_FALSE(rig.safety.anyForced());

    // A write that fails half-way hands that fan straight back...
    rig.writer.failTarget = true;
    EXPECT_EQ(rig.target(0, 3000), HelperReply::Outcome(HelperReply::Failure{"target refused"}));
    EXPECT_FALSE(rig.writer.forced[0]);
    EXPECT_FALSE(rig.safety.anyForced());
    // ...and when that fails too, the fan stays in the safety net's care.
    rig.writer.failHandBack = {0};
    EXPECT_TRUE(isFailure(rig.target(0, 3000)));
    EXPECT_TRUE(rig.writer.forced[0]);
    EXPECT_TRUE(rig.safety.anyForced());
    const auto restore =
        rig.service.handle(1, HelperRequest{.id = 9, .method = HelperMethod::restoreAutomaticControl});
    EXPECT_EQ(restore, (HelperReply{9, HelperReply::Failure{"fan 0 stuck"}}));
    rig.writer.failHandBack.clear();
    rig.timers.advance(FanSafety::retryDelay);
    EXPECT_FALSE(rig.writer.forced[0]);
}

TEST(HelperService, AnswersFramesOrAsksToCloseThem) {
    Rig rig;
    const auto unknown = nlohmann::json::parse(*rig.service.handleFrame(1, R"({"id":4,"method":"reboot"})"));
    EXPECT_EQ(unknown["id"], 4);
    EXPECT_EQ(unknown["error"], "unknown method \"reboot\"");

    // Uptime runs from the service's start on its clock, and a refused call is a sign of life.
    ASSERT_FALSE(isFailure(rig.target(0, 2000)));
    rig.timers.advance(4.0);
    rig.service.handleFrame(1, R"({"id":5,"method":"setTargetRPM"})");
    rig.timers.advance(4.0);
    EXPECT_TRUE(rig.writer.forced[0]);
    EXPECT_EQ(*rig.service.handleFrame(1, R"({"id":6,"method":"heartbeat"})"), R"({"id":6,"uptime":8})");
}

} // namespace
} // namespace halvoren
