#include "helper/fan_safety.h"
#include "helper/helper_service.h"

#include <QString>
#include <QStringList>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <vector>

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
        target[static_cast<std::size_t>(fan)] = rpm;
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
    std::array<double, 2> target{};
    int targetWrites = 0;
    int handBacks = 0;
};

// Collects the daemon's log lines while alive.
class LogCapture {
public:
    LogCapture() {
        lines().clear();
        previous_ = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& text) { lines().append(text); });
    }
    ~LogCapture() { qInstallMessageHandler(previous_); }
    static QStringList& lines() {
        static QStringList captured;
        return captured;
    }

private:
    QtMessageHandler previous_;
};

struct Rig {
    ManualClock clock;
    ManualTimerSource timers{clock};
    FakeFanWriter writer;
    FanSafety safety{writer, timers};
    HelperService service{writer, safety, clock};

    HelperReply::Outcome target(int fan, double rpm) {
        return service
            .handle(HelperRequest{.id = 1, .method = HelperMethod::setTargetRPM, .fan = fan, .rpm = rpm})
            .outcome;
    }
};

bool isFailure(const HelperReply::Outcome& outcome) {
    return std::holds_alternative<HelperReply::Failure>(outcome);
}

TEST(FanSafety, RetriesAFailedHandBackUntilItSucceedsAndLogsEachReason) {
    LogCapture log;
    Rig rig;
    rig.safety.lastClientGone(); // nothing forced: nothing written
    EXPECT_EQ(rig.writer.handBacks, 0);

    ASSERT_FALSE(isFailure(rig.target(0, 3000)));
    ASSERT_FALSE(isFailure(rig.target(1, 3000)));
    rig.writer.failHandBack = {1};
    rig.timers.advance(5.0);
    // Every fan is tried: fan 0 went back although fan 1 failed.
    EXPECT_FALSE(rig.writer.forced[0]);
    EXPECT_TRUE(rig.writer.forced[1]);
    EXPECT_TRUE(rig.safety.anyForced());

    rig.writer.failHandBack.clear();
    rig.timers.advance(4.9);
    EXPECT_TRUE(rig.writer.forced[1]);
    rig.timers.advance(0.1);
    EXPECT_FALSE(rig.writer.forced[1]);
    EXPECT_FALSE(rig.safety.anyForced());
    const int handBacks = rig.writer.handBacks;
    rig.timers.advance(60.0);
    EXPECT_EQ(rig.writer.handBacks, handBacks) << "nothing forced, nothing to watch";
    EXPECT_EQ(rig.timers.pendingCount(), 0U);

    ASSERT_GE(LogCapture::lines().size(), 2);
    EXPECT_TRUE(LogCapture::lines().contains(
        "Could not hand every fan back to the firmware (no request from any client for 5.0 s): fan 1 stuck"));
    EXPECT_EQ(LogCapture::lines().last(),
              "Handed every fan back to the firmware: no request from any client for 5.0 s");

    // A hand-back that failed leaves every fan suspect, so the last client's leaving retries.
    rig.writer.failHandBack = {0};
    EXPECT_TRUE(rig.safety.restoreAll("test").has_value());
    rig.writer.failHandBack.clear();
    rig.safety.lastClientGone();
    EXPECT_FALSE(rig.safety.anyForced());
    EXPECT_EQ(LogCapture::lines().last(),
              "Handed every fan back to the firmware: the last client disconnected");
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
        rig.service.handle(HelperRequest{.id = 9, .method = HelperMethod::restoreAutomaticControl});
    EXPECT_EQ(restore, (HelperReply{9, HelperReply::Failure{"fan 0 stuck"}}));
    rig.writer.failHandBack.clear();
    rig.safety.lastClientGone();
    EXPECT_FALSE(rig.writer.forced[0]);
}

TEST(HelperService, AnswersFramesOrAsksToCloseThem) {
    Rig rig;
    EXPECT_EQ(rig.service.handleFrame("[]"), std::nullopt);
    EXPECT_EQ(rig.service.handleFrame(R"({"method":"heartbeat"})"), std::nullopt);
    const auto unknown = nlohmann::json::parse(*rig.service.handleFrame(R"({"id":4,"method":"reboot"})"));
    EXPECT_EQ(unknown["id"], 4);
    EXPECT_EQ(unknown["error"], "unknown method \"reboot\"");

    // Uptime runs from the service's start on its clock, and a refused call is a sign of life.
    ASSERT_FALSE(isFailure(rig.target(0, 2000)));
    rig.timers.advance(4.0);
    rig.service.handleFrame(R"({"id":5,"method":"setTargetRPM"})");
    rig.timers.advance(4.0);
    EXPECT_TRUE(rig.writer.forced[0]);
    EXPECT_EQ(*rig.service.handleFrame(R"({"id":6,"method":"heartbeat"})"), R"({"id":6,"uptime":8})");
}

} // namespace
} // namespace halvoren
