#include "../sim/sim_test_support.h"
#include "helper/fan_safety.h"
#include "helper/helper_options.h"
#include "helper_test_support.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <pwd.h>
#include <set>
#include <sys/stat.h>
#include <system_error>
#include <tuple>

namespace halvoren {
namespace {

using test::call;
constexpr auto setTarget = testing::setTargetRequest;
using test::SimulatedDaemon;
using test::TestClient;

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
    EXPECT_EQ(test::LogCapture::lines().filter("Handed fan").size(), 2);

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
    EXPECT_EQ(rig.service.handleFrame(1, R"({"id":4,"method":"reboot"})"),
              R"({"id":4,"error":"unknown method \"reboot\""})");

    // Uptime runs from the service's start on its clock, and a refused call is a sign of life.
    ASSERT_FALSE(isFailure(rig.target(0, 2000)));
    rig.timers.advance(4.0);
    rig.service.handleFrame(1, R"({"id":5,"method":"setTargetRPM"})");
    rig.timers.advance(4.0);
    EXPECT_TRUE(rig.writer.forced[0]);
    EXPECT_EQ(*rig.service.handleFrame(1, R"({"id":6,"method":"heartbeat"})"), R"({"id":6,"uptime":8})");
}

using HelperDaemonTest = test::WithQtApplication;

TEST_F(HelperDaemonTest, AnswersEachCallRepeatingItsIdAndRefusesWhatCannotBeWritten) {
    SimulatedDaemon helper;
    TestClient client(helper.socketPath);
    const std::uint64_t largestId = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(client.call(call(largestId, "helperVersion")),
              (nlohmann::json{{"id", largestId}, {"version", "1.2.0"}}));

    helper.clock.advance(3.25);
    const auto beat = client.call(call(2, "heartbeat"));
    EXPECT_EQ(beat["id"], 2);
    EXPECT_DOUBLE_EQ(beat["uptime"].get<double>(), 3.25);

    EXPECT_EQ(client.call(setTarget(3, 0, 3000.0)), (nlohmann::json{{"id", 3}, {"applied", 3000.0}}));
    EXPECT_EQ(helper.held(0), std::pair(true, 3000.0));
    EXPECT_FALSE(helper.fan(1).forced);

    EXPECT_EQ(client.call(test::setManual(4, 0, false)), (nlohmann::json{{"id", 4}}));
    EXPECT_FALSE(helper.fan(0).forced);
    // Forced again at its last target; a fan never set starts at its minimum.
    EXPECT_EQ(client.call(test::setManual(5, 0, true)), (nlohmann::json{{"id", 5}}));
    EXPECT_EQ(helper.held(0), std::pair(true, 3000.0));
    EXPECT_EQ(client.call(test::setManual(6, 1, true)), (nlohmann::json{{"id", 6}}));
    EXPECT_EQ(helper.held(1), std::pair(true, 1300.0));

    // Targets are clamped to the fan's range.
    EXPECT_EQ(client.call(setTarget(8, 1, 99999.0))["applied"], 6300.0);
    EXPECT_EQ(client.call(setTarget(9, 0, 100.0))["applied"], 1200.0);
    EXPECT_DOUBLE_EQ(helper.fan(0).target, 1200.0);
    EXPECT_EQ(client.call(call(7, "restoreAutomaticControl")), (nlohmann::json{{"id", 7}}));
    EXPECT_FALSE(helper.anyFanForced());

    // Each is refused with an error that carries the id, and nothing is forced by it.
    const std::pair<std::uint64_t, std::string> refused[] = {
        {10, setTarget(10, 2, 2000.0)},
        {11, setTarget(11, -1, 2000.0)},
        {15, R"({"id":15,"method":"setTargetRPM","fan":"0","rpm":2000})"},
        {16, R"({"id":16,"method":"setTargetRPM","fan":0})"},
        {17, R"({"id":17,"method":"setManualControl","fan":0,"enabled":1})"},
        {18, R"({"id":18,"method":"setManualControl","fan":9,"enabled":true})"},
        {19, R"({"id":19,"method":"spinFaster"})"},
        {20, R"({"id":20,"method":17})"},
        {21, R"({"id":21})"},
    };
    for (const auto& [id, request] : refused) {
        const auto reply = client.call(request);
        ASSERT_TRUE(reply.is_object()) << request;
        EXPECT_EQ(reply["id"], id) << request;
        EXPECT_TRUE(reply["error"].is_string() && !reply["error"].get<std::string>().empty()) << request;
        EXPECT_EQ(reply.size(), 2U) << request;
    }
    EXPECT_FALSE(helper.anyFanForced());
    EXPECT_EQ(client.call(call(30, "heartbeat"))["id"], 30); // still served
}

TEST_F(HelperDaemonTest, ClosesAConnectionWhoseFrameCannotBeAnswered) {
    SimulatedDaemon helper;
    TestClient bystander(helper.socketPath);
    ASSERT_EQ(bystander.call(setTarget(1, 0, 2500.0))["applied"], 2500.0);

    const std::string unanswerable[] = {
        frameBytes("[1,2,3]"),
        frameBytes("{}"),
        frameBytes(R"({"id":-1,"method":"heartbeat"})"),
        frameBytes(R"({"id":1.5,"method":"heartbeat"})"),
        frameBytes("not json"),
        // JSON has no infinity: an overflowing number makes the text unreadable, id and all.
        frameBytes(R"({"id":12,"method":"setTargetRPM","fan":0,"rpm":1e999})"),
        frameBytes(""),
        // The parser would stop at a NUL: neither what follows nor what precedes it is read.
        frameBytes(std::string(R"({"id":3,"method":"heartbeat"})") + '\0' +
                   R"({"id":4,"method":"setTargetRPM","fan":0,"rpm":5000})"),
        frameBytes(std::string(R"({"id":5,"method":"heart)") + '\0' + R"(beat"})"),
        std::string("\x00\x01\x00\x01", 4), // one byte above the limit, without its payload
        std::string("\xff\xff\xff\xff", 4) + std::string(100, 'x'),
    };
    for (const auto& bytes : unanswerable) {
        TestClient client(helper.socketPath);
        client.sendRaw(bytes);
        EXPECT_TRUE(client.closedWithoutAnswer()) << ::testing::PrintToString(bytes);
    }
    // Frames before the bad one are answered; nothing after it is.
    TestClient client(helper.socketPath);
    client.sendRaw(frameBytes(call(5, "helperVersion")) + std::string("\x00\x02\x00\x00", 4) +
                   frameBytes(call(6, "helperVersion")));
    EXPECT_EQ(client.receive(), R"({"id":5,"version":"1.2.0"})");
    EXPECT_EQ(client.receive(), std::nullopt);
    EXPECT_TRUE(client.closed());

    // The fan forced by the client that stayed is untouched by all of this.
    EXPECT_EQ(helper.held(0), std::pair(true, 2500.0));
    EXPECT_EQ(bystander.call(call(7, "heartbeat"))["id"], 7);
}

TEST_F(HelperDaemonTest, DisconnectsUsersOutsideTheAllowListWithoutAnswer) {
    const uid_t self = ::getuid();
    HelperServer::Options options;
    options.allowPeer = [self](const PeerCredentials& peer) { return peer.uid != self; };
    SimulatedDaemon helper(options);
    TestClient client(helper.socketPath);
    client.send(setTarget(1, 0, 4000.0));
    EXPECT_TRUE(client.closedWithoutAnswer());
    EXPECT_FALSE(helper.anyFanForced());
    EXPECT_EQ(helper.daemon.server().clientCount(), 0U);

    // The kernel's word on who is calling, and the default list: the given users and root.
    int pair[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    const auto peer = peerCredentials(pair[0]);
    ::close(pair[0]);
    ::close(pair[1]);
    ASSERT_TRUE(peer.has_value());
    EXPECT_EQ(std::tuple(peer->pid, peer->uid, peer->gid), std::tuple(::getpid(), self, ::getgid()));
    const auto allow = allowUsers({1000});
    EXPECT_TRUE(allow(PeerCredentials{1, 0, 0}));
    EXPECT_TRUE(allow(PeerCredentials{1, 1000, 0}));
    EXPECT_FALSE(allow(PeerCredentials{1, 1001, 0}));

    // A group lets in a peer running with it, and a user the database lists in it.
    const passwd* member = ::getpwnam("daemon");
    ASSERT_NE(member, nullptr);
    const auto [memberUid, memberGroup] = std::pair(member->pw_uid, member->pw_gid);
    const gid_t otherGroup = memberGroup + 4242;
    const uid_t unknownUser = 3999999;
    const auto group = allowUsersAndGroups({1000}, {memberGroup});
    EXPECT_TRUE(group(PeerCredentials{1, 1000, otherGroup}));
    EXPECT_TRUE(group(PeerCredentials{1, unknownUser, memberGroup}));
    EXPECT_TRUE(group(PeerCredentials{1, memberUid, otherGroup})) << "by the user database";
    EXPECT_FALSE(group(PeerCredentials{1, unknownUser, otherGroup}));
    EXPECT_FALSE(allowUsersAndGroups({}, {otherGroup})(PeerCredentials{1, memberUid, memberGroup}));
    EXPECT_EQ(groupNamed("root"), gid_t{0});
    EXPECT_EQ(groupNamed("no-such-group-here"), std::nullopt);
    EXPECT_EQ(peerCredentials(-1), std::nullopt);
}

TEST_F(HelperDaemonTest, SocketFileIsPrivateAndNeverTakenFromALiveDaemon) {
    SimulatedDaemon helper;
    const std::string path = helper.socketPath;
    const HelperServer::Options options = helper.withPath({});
    struct stat info {};
    ASSERT_EQ(::lstat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & (S_IFMT | 0777), S_IFSOCK | 0600U) << "a socket, for its owner alone";

    // A second daemon must not take the socket of a live one, nor the fans its clients hold; one
    // that fails for any other reason still hands back what a dead run left forced.
    helper.writer.setTarget(1, 3000.0);
    HelperDaemon second(helper.writer, helper.timers, options);
    EXPECT_THROW(second.start(), std::system_error);
    EXPECT_EQ(TestClient(path).call(call(2, "helperVersion"))["id"], 2);
    EXPECT_TRUE(helper.fan(1).forced);
    HelperServer::Options unusable = options;
    unusable.path = std::string(200, 'x');
    HelperDaemon third(helper.writer, helper.timers, unusable);
    EXPECT_THROW(third.start(), std::system_error);
    EXPECT_FALSE(helper.fan(1).forced);

    helper.daemon.stop("test over");
    EXPECT_FALSE(std::filesystem::exists(path));

    // A daemon starting hands back what an earlier run left forced.
    helper.writer.setTarget(1, 3000.0);
    ASSERT_TRUE(helper.fan(1).forced);
    HelperDaemon restarted(helper.writer, helper.timers, options);
    restarted.start();
    EXPECT_FALSE(helper.anyFanForced());
}

TEST_F(HelperDaemonTest, HandsBackTheFansOfEachClientThatLeaves) {
    SimulatedDaemon helper;
    TestClient first(helper.socketPath);
    TestClient second(helper.socketPath);
    TestClient bystander(helper.socketPath);
    ASSERT_EQ(first.call(setTarget(1, 0, 4000.0))["applied"], 4000.0);
    ASSERT_EQ(second.call(setTarget(2, 1, 4000.0))["applied"], 4000.0);
    ASSERT_EQ(bystander.call(call(3, "heartbeat"))["id"], 3);

    first.close();
    EXPECT_FALSE(helper.fan(0).forced) << "others still connected do not keep it";
    EXPECT_TRUE(helper.fan(1).forced);

    // The last client to write a fan owns it: the one it took it from may leave.
    ASSERT_EQ(bystander.call(setTarget(4, 1, 5000.0))["applied"], 5000.0);
    second.close();
    EXPECT_EQ(helper.held(1), std::pair(true, 5000.0));

    // A client the daemon throws out counts as gone too.
    bystander.sendRaw(frameBytes("[]"));
    EXPECT_TRUE(bystander.waitForClose());
    EXPECT_FALSE(helper.anyFanForced());
}

TEST_F(HelperDaemonTest, AFanBeingReleasedStaysCountedAsForcedUntilItIsHeld) {
    SimulatedDaemon helper(
        {}, test::asGeneration(*MachineProfile::builtIn("apple-silicon-laptop-2fan"), false, true));
    std::uint64_t id = 1;
    // A client gone while its fan is being released leaves neither the fan nor Ftst forced.
    TestClient leaving(helper.socketPath);
    EXPECT_EQ(leaving.call(setTarget(id++, 0, 4000.0))["error"],
              "fan 0 is being released by the system's thermal control");
    EXPECT_EQ(test::Exchange{*helper.mac}.read("Ftst"), 1.0);
    leaving.close();
    EXPECT_EQ(test::Exchange{*helper.mac}.read("Ftst"), 0.0);
    EXPECT_EQ(test::Exchange{*helper.mac}.read("F0Md"), 3.0) << "the system's thermal control has it again";

    TestClient client(helper.socketPath);
    auto reply = client.call(setTarget(id++, 0, 4000.0));
    // Retried as the application does; a hand-back between tries would undo the unlock.
    for (int tick = 0; tick < 10 && !reply.contains("applied"); ++tick) {
        helper.timers.advance(0.5);
        reply = client.call(setTarget(id++, 0, 4000.0));
    }
    EXPECT_EQ(reply["applied"], 4000.0);
    EXPECT_TRUE(helper.fan(0).forced);

    // Released with fan 0, fan 1 needs no wait; the last client gone, Ftst goes back to 0.
    EXPECT_EQ(client.call(setTarget(id++, 1, 4000.0))["applied"], 4000.0);
    client.close();
    EXPECT_EQ(test::Exchange{*helper.mac}.read("Ftst"), 0.0);
    EXPECT_FALSE(helper.anyFanForced());
}

TEST_F(HelperDaemonTest, HandsBackTheFansOfASilentClientWhateverOthersDo) {
    SimulatedDaemon helper;
    TestClient quiet(helper.socketPath);
    TestClient chatty(helper.socketPath);
    ASSERT_EQ(quiet.call(setTarget(1, 0, 4000.0))["applied"], 4000.0);
    ASSERT_EQ(chatty.call(setTarget(2, 1, 3000.0))["applied"], 3000.0);
    std::uint64_t id = 10;
    const auto beat = [&](TestClient& client) {
        ++id;
        return client.call(call(id, "heartbeat"))["id"] == id;
    };
    for (int round = 0; round < 4; ++round) {
        helper.timers.advance(2.5);
        ASSERT_TRUE(beat(quiet));
        ASSERT_TRUE(beat(chatty));
        ASSERT_TRUE(helper.fan(0).forced) << "after " << round + 1 << " heartbeats";
    }
    // Any request keeps a client's fans, not just a heartbeat; another client's never do.
    helper.timers.advance(2.5);
    ASSERT_EQ(quiet.call(call(id++, "helperVersion"))["version"], "1.2.0");
    ASSERT_TRUE(beat(chatty));
    for (const double step : {2.5, 2.25}) {
        helper.timers.advance(step);
        ASSERT_TRUE(beat(chatty));
    }
    EXPECT_TRUE(helper.fan(0).forced);
    helper.timers.advance(0.25);
    EXPECT_FALSE(helper.fan(0).forced);
    EXPECT_TRUE(helper.fan(1).forced) << "the client that kept talking keeps its fan";

    // Forcing again after the hand-back starts a fresh watch.
    ASSERT_EQ(quiet.call(setTarget(id++, 0, 3000.0))["applied"], 3000.0);
    helper.timers.advance(4.75);
    EXPECT_TRUE(helper.fan(0).forced);
    helper.timers.advance(0.25);
    EXPECT_FALSE(helper.fan(0).forced);
}

TEST_F(HelperDaemonTest, DropsAClientThatLeavesAFrameUnfinished) {
    SimulatedDaemon helper;
    const std::string frame = frameBytes(call(1, "heartbeat"));
    struct Case {
        const char* name;
        std::vector<std::pair<double, std::string>> sends; // seconds to wait before, bytes
        double closesAfterLast;
    };
    const Case cases[] = {
        {"half a header", {{0.0, frame.substr(0, 2)}}, 5.0},
        {"half a payload", {{0.0, frame.substr(0, 9)}}, 5.0},
        {"a trickle: the frame's time runs from its first byte",
         {{0.0, frame.substr(0, 2)}, {3.0, frame.substr(2, 5)}},
         2.0},
        {"a frame completed, the next begun: that one has its own time",
         {{0.0, frame.substr(0, 9)}, {4.0, frame.substr(9) + frame.substr(0, 3)}},
         5.0},
    };
    for (const auto& [name, sends, closesAfterLast] : cases) {
        TestClient client(helper.socketPath);
        ASSERT_EQ(client.call(setTarget(7, 0, 4000.0))["applied"], 4000.0) << name;
        for (const auto& [wait, bytes] : sends) {
            helper.timers.advance(wait);
            ASSERT_TRUE(client.sendRaw(bytes)) << name;
        }
        helper.timers.advance(closesAfterLast - 0.25);
        EXPECT_EQ(helper.daemon.server().clientCount(), 1U) << name;
        helper.timers.advance(0.25);
        EXPECT_EQ(helper.daemon.server().clientCount(), 0U) << name;
        EXPECT_TRUE(client.waitForClose()) << name;
        EXPECT_FALSE(helper.fan(0).forced) << name;
    }
    // Silence between whole frames is no fault.
    TestClient idle(helper.socketPath);
    ASSERT_EQ(idle.call(call(8, "heartbeat"))["id"], 8);
    helper.timers.advance(60.0);
    EXPECT_EQ(idle.call(call(9, "heartbeat"))["id"], 9);
}

TEST_F(HelperDaemonTest, CapsConnectionsPerUserAndLogsRefusalsAtABoundedRate) {
    test::LogCapture log;
    HelperServer::Options options;
    options.maxClientsPerUser = 2;
    SimulatedDaemon helper(options);
    TestClient first(helper.socketPath);
    TestClient second(helper.socketPath);
    ASSERT_EQ(first.call(call(1, "heartbeat"))["id"], 1);
    ASSERT_EQ(second.call(call(2, "heartbeat"))["id"], 2);

    const QString refused = "Refused a client beyond the limit of 2 connections per user";
    for (int i = 0; i < 4; ++i) {
        TestClient extra(helper.socketPath);
        extra.send(call(3, "heartbeat"));
        EXPECT_TRUE(extra.closedWithoutAnswer()) << i;
    }
    EXPECT_EQ(log.count(refused), 1);
    helper.timers.advance(4.75);
    EXPECT_EQ(log.count("Refused 3 more clients since the last such line"), 0);
    helper.timers.advance(0.25);
    EXPECT_EQ(log.count("Refused 3 more clients since the last such line"), 1);
    helper.timers.advance(5.0);
    TestClient late(helper.socketPath);
    EXPECT_TRUE(late.closedWithoutAnswer());
    EXPECT_EQ(log.count(refused), 2);

    // A place freed is a place to take.
    first.close();
    TestClient third(helper.socketPath);
    EXPECT_EQ(third.call(call(4, "heartbeat"))["id"], 4);
}

TEST_F(HelperDaemonTest, OneUserAtItsCapLeavesRoomForAnother) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root, to connect as a second user";
    }
    HelperServer::Options options;
    options.maxClientsPerUser = 1;
    SimulatedDaemon helper(options);
    TestClient mine(helper.socketPath);
    ASSERT_EQ(mine.call(call(1, "heartbeat"))["id"], 1);
    EXPECT_EQ(test::exchangeAs(0, helper.socketPath), test::Reach::noAnswer);
    ::chmod(helper.directory.path().c_str(), 0711);
    ::chmod(helper.socketPath.c_str(), 0666);
    EXPECT_EQ(test::exchangeAs(65534, helper.socketPath), test::Reach::answered);
}

TEST_F(HelperDaemonTest, StalledClientsDoNotHoldUpOthers) {
    constexpr std::size_t outputCap = std::size_t{64} * 1024;
    HelperServer::Options options;
    options.maxPendingOutput = outputCap;
    SimulatedDaemon helper(options);
    TestClient halfFrame(helper.socketPath);
    halfFrame.sendRaw(frameBytes(call(1, "heartbeat")).substr(0, 7));
    TestClient neverReads(helper.socketPath);
    TestClient healthy(helper.socketPath);

    // Requests whose answers pile up unread until the daemon gives up on that client.
    std::string burst;
    for (int i = 0; i < 400; ++i) {
        burst += frameBytes(call(static_cast<std::uint64_t>(i), "helperVersion"));
    }
    std::uint64_t id = 1000;
    for (int batch = 0; batch < 200 && !neverReads.closed(); ++batch) {
        if (!neverReads.sendRaw(burst)) {
            break;
        }
        const auto reply = healthy.call(call(id, "heartbeat"));
        ASSERT_EQ(reply["id"], id) << "batch " << batch;
        ++id;
    }
    // Dropped, though its socket still holds what the kernel took before the daemon stopped.
    EXPECT_FALSE(neverReads.sendRaw(burst + burst + burst + burst));
    EXPECT_EQ(helper.daemon.server().clientCount(), 2U);
    EXPECT_EQ(healthy.call(setTarget(id, 0, 3000.0))["applied"], 3000.0);
    // The half frame still completes into an answer.
    halfFrame.sendRaw(frameBytes(call(1, "heartbeat")).substr(7));
    EXPECT_EQ(nlohmann::json::parse(halfFrame.receive().value_or("null"))["id"], 1);
}

// The help text names the program after the running application's first argument.
using HelperCommandLine = test::WithQtApplication;

HelperOptions parse(QStringList arguments) {
    arguments.prepend("halvoren-helper");
    return parseHelperCommandLine(arguments).options;
}

TEST_F(HelperCommandLine, ReadsEveryFlag) {
    // The "--socket PATH" form is the one the process tests start the helper with.
    const auto plain = parse({"--socket", "/tmp/h/helper.sock"});
    EXPECT_FALSE(plain.ownSocketDirectory) << "a directory someone named keeps its mode";
    EXPECT_EQ(plain.smcSocketPath, "") << "without --simulate: the hardware";

    const auto simulated = parse({"--socket", "/tmp/h/helper.sock", "--simulate"});
    EXPECT_EQ(simulated.simulateProfile, "apple-silicon-laptop-2fan");
    EXPECT_EQ(simulated.smcSocketPath, "/tmp/h/smc.sock");

    const auto chosen =
        parse({"--simulate=intel-laptop", "--smc-socket", "/x/smc", "--allow-uid", "1000", "--allow-uid=1001",
               "--allow-group", "halvoren", "--sysfs-root", "/fake", "--socket=/s"});
    EXPECT_EQ(chosen.simulateProfile, "intel-laptop");
    EXPECT_EQ(chosen.smcSocketPath, "/x/smc");
    EXPECT_EQ(chosen.extraUids, (std::set<uid_t>{1000, 1001}));
    EXPECT_EQ(chosen.allowedGroups, (std::set<std::string>{"halvoren"}));
    EXPECT_EQ(chosen.sysfsRoot, "/fake");
    EXPECT_EQ(chosen.socketPath, "/s");

    // The default place depends on who runs the daemon; it is always a helper.sock.
    EXPECT_TRUE(parse({}).socketPath.ends_with("/halvoren/helper.sock"));
    EXPECT_TRUE(parse({}).ownSocketDirectory);

    EXPECT_TRUE(parseHelperCommandLine({"halvoren-helper", "--help"}).helpRequested);

    for (const QStringList& bad :
         {QStringList{"--allow-uid", "bob"}, QStringList{"--allow-uid", "-1"},
          QStringList{"--allow-uid", "4294967295"}, QStringList{"--simulate="}, QStringList{"--allow-group="},
          QStringList{"--fast"}, QStringList{"stray"}, QStringList{"--socket"}}) {
        EXPECT_THROW(parse(bad), CommandLineError) << bad.join(' ').toStdString();
    }
}

TEST_F(HelperCommandLine, OpensTheSocketToOthersOnlyWhenOthersAreAllowed) {
    EXPECT_EQ(socketModeFor({}, 1000), 0600U);
    EXPECT_EQ(socketModeFor({0, 1000}, 1000), 0600U);
    EXPECT_EQ(socketModeFor({1001}, 1000), 0666U);
    EXPECT_EQ(socketModeFor({1000}, 0), 0666U);
    EXPECT_EQ(socketModeFor({}, 0, true), 0666U) << "a group's members are other users";
}

} // namespace
} // namespace halvoren
