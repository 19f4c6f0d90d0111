// A soak of the engine's control loop: the real run loop on a manual clock, reading a simulated
// two-fan laptop, writing through the helper's own request handling to the same machine, while
// faults come and go at random: failing and slow controller calls, vanished keys, stalled and
// obstructed fans, NaN readings on the wire and from HID sensors, helper calls that time out and
// a helper that goes away and comes back. The user's choices change now and then too.
//
// Checked at every pass: every target that reaches a fan lies within that fan's limits (what
// WritePolicy::vet allows), no NaN reaches the helper, and the engine's published fans and control
// temperature are numbers. Checked at the end: once the engine has stopped and its client is gone,
// no fan is left forced. A violation names its pass; the same seed replays the same run.
//
//   halvoren-soak [--passes N] [--seed S]          (defaults: 1000000 passes, a random seed)

#include "core/fan_key.h"
#include "core/fan_profile.h"
#include "core/four_cc.h"
#include "core/helper_constants.h"
#include "core/helper_messages.h"
#include "core/write_policy.h"
#include "engine/fan_driver.h"
#include "engine/halvoren_engine.h"
#include "fakes/fake_process_cpu_times.h"
#include "helper/fan_safety.h"
#include "helper/helper_service.h"
#include "helper/smc_fan_writer.h"
#include "platform/clock.h"
#include "platform/timer_source.h"
#include "sim/load_scenario.h"
#include "sim/machine_profile.h"
#include "sim/simulated_mac.h"
#include "sim/simulated_smc_transport.h"
#include "smc/hid_sensor_source.h"
#include "smc/smc_kernel_bridge.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLoggingCategory>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <atomic>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace halvoren {
namespace {

constexpr const char* machineName = "apple-silicon-laptop-2fan";
constexpr int heartbeatPasses = 25; // 2.5 s at the fast rhythm, as the driver's heartbeat
constexpr int maxReportedViolations = 20;

// The first violations in full, then only their count.
struct Violations {
    std::uint64_t count = 0;
    std::uint64_t pass = 0; // the pass being run, for the messages

    void report(const std::string& what) {
        if (++count <= maxReportedViolations) {
            std::printf("VIOLATION at pass %llu: %s\n", static_cast<unsigned long long>(pass), what.c_str());
            std::fflush(stdout);
        }
    }
};

// NaN in place of the value of `flt` reads, for every key or for one, from the main thread while
// polls read on the poller's worker.
class NaNInjector {
public:
    static constexpr std::uint32_t everyKey = 0xFFFFFFFF;

    void set(std::uint32_t key) { key_.store(key); }
    void clear() { key_.store(0); }
    bool active() const { return key_.load() != 0; }

    void apply(const SMCParamStruct& input, SMCParamStruct& output) const {
        const std::uint32_t key = key_.load();
        if (key == 0 || input.data8 != static_cast<std::uint8_t>(SMCCommand::readValue) ||
            input.keyInfo.dataType != SMCDataType::fltCode || (key != everyKey && key != input.key)) {
            return;
        }
        const auto raw = std::bit_cast<std::uint32_t>(std::numeric_limits<float>::quiet_NaN());
        output.setValueBytes(std::vector<std::uint8_t>{
            static_cast<std::uint8_t>(raw), static_cast<std::uint8_t>(raw >> 8),
            static_cast<std::uint8_t>(raw >> 16), static_cast<std::uint8_t>(raw >> 24)});
    }

private:
    std::atomic<std::uint32_t> key_{0};
};

// The simulated machine's transport with NaN readings injected on the way back.
class NaNTransport final : public SMCTransport {
public:
    NaNTransport(std::shared_ptr<SimulatedMac> mac, const NaNInjector& nan)
        : inner_(std::move(mac))
        , nan_(nan) {}

    SMCParamStruct call(const SMCParamStruct& input) override {
        SMCParamStruct output = inner_.call(input);
        nan_.apply(input, output);
        return output;
    }

private:
    SimulatedSMCTransport inner_;
    const NaNInjector& nan_;
};

// The helper's hardware seam with every target checked against the fan's real limits on the way
// to the machine: what reaches a fan must be what WritePolicy::vet lets through.
class CheckedFanWriter final : public FanWriter {
public:
    CheckedFanWriter(FanWriter& inner, std::vector<FanSpec> fans, Violations& violations)
        : inner_(inner)
        , fans_(std::move(fans))
        , violations_(violations) {}

    std::string description() const override { return inner_.description(); }
    int fanCount() const override { return inner_.fanCount(); }
    FanLimits limits(int fan) override { return inner_.limits(fan); }
    double setTarget(int fan, double rpm) override {
        ++writes;
        if (fan < 0 || static_cast<std::size_t>(fan) >= fans_.size()) {
            violations_.report("a target reached fan " + std::to_string(fan) + ", which does not exist");
        } else if (!(rpm >= fans_[fan].minimum && rpm <= fans_[fan].maximum)) {
            violations_.report("fan " + std::to_string(fan) + " was set to " + std::to_string(rpm) +
                               " rpm, outside " + std::to_string(fans_[fan].minimum) + "..." +
                               std::to_string(fans_[fan].maximum));
        }
        return inner_.setTarget(fan, rpm);
    }
    void setAutomatic(int fan) override { inner_.setAutomatic(fan); }
    void restoreAutomatic() override { inner_.restoreAutomatic(); }

    std::uint64_t writes = 0;

private:
    FanWriter& inner_;
    std::vector<FanSpec> fans_;
    Violations& violations_;
};

// The one connection the engine's driver holds to the helper.
constexpr ClientId engineClient = 1;

// The helper in-process: its request handling and fan safety over its own bridge to the machine,
// on timers of its own that move with the engine's.
struct Helper {
    Helper(const std::shared_ptr<SimulatedMac>& mac, const NaNInjector& nan, Violations& violations)
        : bridge(std::make_shared<SMCKernelBridge>(std::make_unique<NaNTransport>(mac, nan)))
        , smcWriter(bridge, "simulated controller", clock)
        , writer(smcWriter, mac->profile().thermal.fans, violations)
        , safety(writer, timers)
        , service(writer, safety, clock) {}

    ManualClock clock;
    ManualTimerSource timers{clock};
    std::shared_ptr<SMCKernelBridge> bridge;
    SMCFanWriter smcWriter;
    CheckedFanWriter writer;
    FanSafety safety;
    HelperService service;
};

// The engine's timers, remembering the delay of the last one scheduled: with this driver the run
// loop's sleep is the only timer the engine sets, so it says how far to move time for the next pass.
class LoopTimers final : public TimerSource {
public:
    explicit LoopTimers(ManualClock& clock)
        : inner_(clock) {}

    TimerHandle schedule(double delaySeconds, std::function<void()> fire) override {
        lastDelay = delaySeconds;
        return inner_.schedule(delaySeconds, std::move(fire));
    }
    const Clock& clock() const override { return inner_.clock(); }
    void advance(double seconds) { inner_.advance(seconds); }

    double lastDelay = 0.0;

private:
    ManualTimerSource inner_;
};

// The link to the helper as the engine sees it: the driver's own gate (the write policy against
// any RPM), then the request as JSON text into the helper's handling, the reply decoded back.
class SoakDriver final : public FanDriver {
public:
    SoakDriver(std::shared_ptr<SMCKernelBridge> bridge, Helper& helper, Violations& violations)
        : bridge_(std::move(bridge))
        , helper_(helper)
        , violations_(violations) {}

    bool connected = true;
    int timeoutsToInject = 0;
    std::function<void()> lossHandler;
    std::uint64_t writesAsked = 0;
    std::uint64_t driverRejections = 0;
    std::uint64_t failedCalls = 0;

    std::shared_ptr<SMCKernelBridge> sharedBridge() const override { return bridge_; }
    void setConnectionLossHandler(std::function<void()> handler) override {
        lossHandler = std::move(handler);
    }
    QCoro::Task<HelperState> currentState() override { co_return state(); }
    QCoro::Task<HelperState> registerHelper() override { co_return state(); }
    QCoro::Task<HelperState> unregisterHelper() override { co_return HelperState::notRegistered(); }
    QCoro::Task<HelperState> bounceHelper() override { co_return state(); }
    QCoro::Task<std::string> daemonVersion() override {
        linkCheck();
        co_return std::string(helperBuildVersion);
    }

    QCoro::Task<double> setTargetRPM(int fan, double rpm) override {
        ++writesAsked;
        const auto verdict = WritePolicy::vet(rpm, 0.0, std::numeric_limits<double>::max());
        if (verdict.isReject()) {
            ++driverRejections;
            throw DriverFailure::rejected(verdict.reason());
        }
        linkCheck();
        const auto reply =
            call({.id = ++nextId_, .method = HelperMethod::setTargetRPM, .fan = fan, .rpm = rpm});
        co_return std::get<HelperReply::Applied>(reply.outcome).rpm;
    }
    QCoro::Task<void> restoreAuto() override {
        linkCheck();
        call({.id = ++nextId_, .method = HelperMethod::restoreAutomaticControl});
        co_return;
    }
    std::shared_ptr<SMCKernelBridge> reopenBridgeIfNeeded() override { return bridge_; }
    void openLoginItemsSettings() override {}

    // The heartbeat the driver sends while connected.
    void heartbeat() {
        if (connected) {
            helper_.service.handle(engineClient, {.id = ++nextId_, .method = HelperMethod::heartbeat});
        }
    }

private:
    HelperState state() const {
        return connected ? HelperState::connected() : HelperState::unavailable("the helper went away");
    }

    void linkCheck() {
        if (!connected) {
            ++failedCalls;
            throw DriverFailure::linkFailed("the helper went away");
        }
        if (timeoutsToInject > 0) {
            --timeoutsToInject;
            ++failedCalls;
            throw DriverFailure::of(DriverError::timedOut);
        }
    }

    HelperReply call(const HelperRequest& request) {
        std::string text;
        try {
            text = encodeRequest(request);
        } catch (const EncodeError& error) {
            violations_.report(std::string("a request the helper cannot read reached it: ") + error.what());
            throw DriverFailure::rejected(error.what());
        }
        const auto answer = helper_.service.handleFrame(engineClient, text);
        if (!answer) {
            violations_.report("the helper found no id in " + text);
            throw DriverFailure::linkFailed("no reply");
        }
        const auto decoded = decodeReply(*answer, request.method);
        if (const auto* error = std::get_if<HelperMessageError>(&decoded)) {
            violations_.report("the helper's reply could not be read: " + error->message);
            throw DriverFailure::linkFailed(error->message);
        }
        const auto& reply = std::get<HelperReply>(decoded);
        if (const auto* failure = std::get_if<HelperReply::Failure>(&reply.outcome)) {
            ++failedCalls;
            throw DriverFailure::helperRefused(failure->message);
        }
        return reply;
    }

    std::shared_ptr<SMCKernelBridge> bridge_;
    Helper& helper_;
    Violations& violations_;
    std::uint64_t nextId_ = 0;
};

// How often each fault starts, per pass; each lasts a random number of passes.
struct FaultRates {
    double failingCalls = 2e-3;
    double slowCalls = 5e-5;
    double vanishedKey = 2e-3;
    double stalledFan = 1e-3;
    double obstructedFan = 1e-3;
    double nanReadings = 2e-3;
    double hidNaN = 2e-3;
    double helperTimeouts = 1e-3;
    double helperLoss = 3e-4;
    double userChange = 1e-3;
};

// A fault or change in force until a pass, and how it ends.
struct Active {
    std::uint64_t until = 0;
    std::function<void()> end;
};

class Soak {
public:
    Soak(std::uint64_t seed, std::uint64_t passes)
        : seed_(seed)
        , passes_(passes)
        , rng_(seed)
        , profile_(*MachineProfile::builtIn(machineName))
        , mac_(std::make_shared<SimulatedMac>(profile_, macClock_, seed, burstLoad()))
        , helper_(mac_, nan_, violations_)
        , timers_(engineClock_)
        , settings_(dir_.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat)
        , driver_(std::make_shared<SMCKernelBridge>(std::make_unique<NaNTransport>(mac_, nan_)), helper_,
                  violations_) {}

    // The number of violations.
    std::uint64_t run();

private:
    bool chance(double p) { return std::uniform_real_distribution<double>(0.0, 1.0)(rng_) < p; }
    int below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng_); }
    std::uint64_t lasting(int least, int most) {
        return violations_.pass + static_cast<std::uint64_t>(least + below(most - least + 1));
    }
    const ProfileKey& anyKey() {
        return profile_.keys[static_cast<std::size_t>(below(static_cast<int>(profile_.keys.size())))];
    }
    void count(const char* what) { ++injected_[what]; }

    void injectFaults();
    void changeUserChoices();
    void applyPlan() { mac_->setFaults(plan_); }
    void endExpired();
    void advance(double seconds);
    bool awaitPass(std::uint64_t before);
    void checkPass();
    void loseHelper();
    void checkHandBack();
    void printSummary(double seconds) const;

    const std::uint64_t seed_;
    const std::uint64_t passes_;
    std::mt19937_64 rng_;
    FaultRates rates_;
    std::map<std::string, std::uint64_t> injected_;
    Violations violations_;
    MachineProfile profile_;
    NaNInjector nan_;
    std::atomic<bool> hidNaN_{false};
    // The machine has a clock of its own, moved with the engine's between passes, so its reads on
    // the poller's worker never race a clock that the main thread moves.
    ManualClock macClock_;
    std::shared_ptr<SimulatedMac> mac_;
    Helper helper_;
    ManualClock engineClock_;
    LoopTimers timers_;
    QTemporaryDir dir_;
    QSettings settings_;
    SoakDriver driver_;
    std::unique_ptr<HalvorenEngine> engine_;
    FaultPlan plan_;
    std::vector<Active> active_;
};

void Soak::advance(double seconds) {
    macClock_.advance(seconds);
    helper_.timers.advance(seconds);
    timers_.advance(seconds);
}

bool Soak::awaitPass(std::uint64_t before) {
    QElapsedTimer elapsed;
    elapsed.start();
    while (engine_->passCount() <= before) {
        if (elapsed.hasExpired(10'000)) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

void Soak::injectFaults() {
    if (!plan_.failingCalls && chance(rates_.failingCalls)) {
        count("failing calls");
        plan_.failingCalls = FaultPlan::FailingCalls{.code = 0x10 + below(8), .count = 1 + below(40)};
        applyPlan();
        // The machine counts them down itself; this ends a burst that polls did not use up.
        active_.push_back({lasting(50, 200), [this] {
                               plan_.failingCalls.reset();
                               applyPlan();
                           }});
    }
    if (plan_.callDelay == 0.0 && chance(rates_.slowCalls)) {
        count("slow calls");
        plan_.callDelay = 0.0005;
        applyPlan();
        active_.push_back({lasting(5, 20), [this] {
                               plan_.callDelay = 0.0;
                               applyPlan();
                           }});
    }
    if (chance(rates_.vanishedKey)) {
        count("vanished keys");
        const std::string key = anyKey().name;
        plan_.vanishedKeys.insert(key);
        applyPlan();
        active_.push_back({lasting(10, 600), [this, key] {
                               plan_.vanishedKeys.erase(key);
                               applyPlan();
                           }});
    }
    const int fans = static_cast<int>(profile_.thermal.fans.size());
    if (chance(rates_.stalledFan)) {
        count("stalled fans");
        const int fan = below(fans);
        plan_.stalledFans.insert(fan);
        applyPlan();
        active_.push_back({lasting(50, 3000), [this, fan] {
                               plan_.stalledFans.erase(fan);
                               applyPlan();
                           }});
    }
    if (chance(rates_.obstructedFan)) {
        count("obstructed fans");
        const int fan = below(fans);
        plan_.obstructedFans[fan] = 0.2 + 0.6 * std::uniform_real_distribution<double>(0.0, 1.0)(rng_);
        applyPlan();
        active_.push_back({lasting(50, 3000), [this, fan] {
                               plan_.obstructedFans.erase(fan);
                               applyPlan();
                           }});
    }
    if (!nan_.active() && chance(rates_.nanReadings)) {
        count("NaN readings");
        nan_.set(chance(0.3) ? NaNInjector::everyKey : anyKey().code);
        active_.push_back({lasting(1, 100), [this] { nan_.clear(); }});
    }
    if (!hidNaN_ && chance(rates_.hidNaN)) {
        count("NaN HID readings");
        hidNaN_ = true;
        active_.push_back({lasting(1, 100), [this] { hidNaN_ = false; }});
    }
    if (driver_.timeoutsToInject == 0 && chance(rates_.helperTimeouts)) {
        count("helper timeouts");
        driver_.timeoutsToInject = 1 + below(5);
    }
    if (driver_.connected && chance(rates_.helperLoss)) {
        count("helper losses");
        loseHelper();
        active_.push_back({lasting(5, 200), [this] { driver_.connected = true; }});
    }
}

// The helper's client goes: the helper hands the fans back, and the driver tells the engine.
void Soak::loseHelper() {
    driver_.connected = false;
    helper_.safety.clientGone(engineClient);
    if (driver_.lossHandler) {
        driver_.lossHandler();
    }
}

void Soak::changeUserChoices() {
    if (!chance(rates_.userChange)) {
        return;
    }
    count("user changes");
    switch (below(7)) {
    case 0:
        engine_->selectPreset(FanPreset::quiet);
        break;
    case 1:
        engine_->selectPreset(FanPreset::auto_);
        break;
    case 2:
        engine_->selectPreset(FanPreset::max);
        break;
    case 3:
        engine_->selectProfile(FanProfile::appleAuto());
        break;
    case 4:
        engine_->selectProfile(FanProfile::builtins()[1 + static_cast<std::size_t>(below(3))]);
        break;
    case 5:
        engine_->setConstantRPM(below(9000));
        break;
    default:
        engine_->setSpoolRate(120.0 + below(9000));
        break;
    }
}

void Soak::endExpired() {
    for (std::size_t i = 0; i < active_.size();) {
        if (active_[i].until <= violations_.pass) {
            const auto end = std::move(active_[i].end);
            active_.erase(active_.begin() + static_cast<std::ptrdiff_t>(i));
            end();
        } else {
            ++i;
        }
    }
}

void Soak::checkPass() {
    if (!std::isfinite(engine_->controlTemperature().value())) {
        violations_.report("the control temperature is " +
                           std::to_string(engine_->controlTemperature().value()));
    }
    for (const auto& [id, fan] : engine_->fans().value()) {
        if (!std::isfinite(fan.currentRPM) || !std::isfinite(fan.minRPM) || !std::isfinite(fan.maxRPM) ||
            !std::isfinite(fan.targetRPM)) {
            violations_.report("fan " + std::to_string(id) +
                               " is published with a reading that is not a number");
        }
    }
}

// The end of a run: the engine stops and its client goes, with whatever faults are in force; once
// they pass, the helper's retries must have handed every fan back.
void Soak::checkHandBack() {
    engine_->stop();
    QCoreApplication::processEvents();
    const bool wasConnected = driver_.connected;
    driver_.connected = false;
    if (wasConnected) {
        helper_.safety.clientGone(engineClient);
    }
    for (auto& active : active_) {
        active.end();
    }
    active_.clear();
    for (int second = 0; second < 30; ++second) {
        advance(1.0);
    }
    const auto fans = mac_->fans();
    for (std::size_t i = 0; i < fans.size(); ++i) {
        if (fans[i].forced) {
            violations_.report("fan " + std::to_string(i) + " is still forced after the engine stopped");
        }
    }
    if (helper_.safety.anyForced()) {
        violations_.report("the helper still counts a fan as forced after the engine stopped");
    }
}

void Soak::printSummary(double seconds) const {
    std::printf("soak: %llu passes in %.1f s: %.0f passes/s, %.1f simulated hours\n",
                static_cast<unsigned long long>(passes_), seconds, static_cast<double>(passes_) / seconds,
                engineClock_.monotonicNow() / 3600.0);
    std::printf("soak: %llu targets asked, %llu refused by the driver's write policy, %llu calls failed, "
                "%llu targets reached the fans\n",
                static_cast<unsigned long long>(driver_.writesAsked),
                static_cast<unsigned long long>(driver_.driverRejections),
                static_cast<unsigned long long>(driver_.failedCalls),
                static_cast<unsigned long long>(helper_.writer.writes));
    std::string faults;
    for (const auto& [what, n] : injected_) {
        faults += (faults.empty() ? "" : ", ") + what + " " + std::to_string(n);
    }
    std::printf("soak: injected %s\n", faults.c_str());
    std::printf("soak: %llu violations (seed %llu)\n", static_cast<unsigned long long>(violations_.count),
                static_cast<unsigned long long>(seed_));
}

std::uint64_t Soak::run() {
    std::printf("soak: seed %llu, %llu passes on %s (replay: halvoren-soak --seed %llu --passes %llu)\n",
                static_cast<unsigned long long>(seed_), static_cast<unsigned long long>(passes_), machineName,
                static_cast<unsigned long long>(seed_), static_cast<unsigned long long>(passes_));
    std::fflush(stdout);
    const auto cores = profile_.coreCounts;
    engine_ = std::make_unique<HalvorenEngine>(
        FanProfile::appleAuto(),
        HalvorenEngine::Environment{
            .driver = driver_,
            .timers = timers_,
            .settings = settings_,
            .coreCounts = [cores] { return cores; },
            .hidFactory =
                [this] {
                    return std::make_unique<HIDSensorSource>([this] {
                        const double celsius = hidNaN_ ? std::numeric_limits<double>::quiet_NaN() : 41.0;
                        return std::vector<std::pair<std::string, double>>{{"soak enclosure", celsius}};
                    });
                },
            // The almanac and the heat files stay in the run's own folder.
            .dataDirectory = dir_.path(),
            .processCPUTimes = std::make_shared<FakeProcessCPUTimes>()});
    engine_->selectPreset(FanPreset::auto_);
    QTimer wake; // an event now and then, so a stalled loop is noticed
    wake.start(20);
    engine_->start();
    if (!awaitPass(0)) {
        violations_.report("the run loop made no first pass");
        return violations_.count;
    }

    QElapsedTimer wall;
    wall.start();
    const std::uint64_t tenth = std::max<std::uint64_t>(passes_ / 10, 1);
    for (std::uint64_t pass = 1; pass <= passes_; ++pass) {
        violations_.pass = pass;
        endExpired();
        injectFaults();
        changeUserChoices();
        if (pass % heartbeatPasses == 0) {
            driver_.heartbeat();
        }
        const std::uint64_t before = engine_->passCount();
        advance(timers_.lastDelay);
        if (!awaitPass(before)) {
            violations_.report("the run loop made no pass within 10 s of real time");
            break;
        }
        checkPass();
        if (pass % tenth == 0) {
            std::printf("soak: %llu passes, %.0f passes/s\n", static_cast<unsigned long long>(pass),
                        static_cast<double>(pass) * 1000.0 /
                            static_cast<double>(std::max<qint64>(wall.elapsed(), 1)));
            std::fflush(stdout);
        }
    }
    const double seconds = static_cast<double>(wall.elapsed()) / 1000.0;
    violations_.pass = passes_;
    checkHandBack();
    printSummary(seconds);
    return violations_.count;
}

std::optional<std::uint64_t> number(const char* text) {
    char* end = nullptr;
    const unsigned long long value = std::strtoull(text, &end, 10);
    if (end == text || *end != '\0') {
        return std::nullopt;
    }
    return value;
}

} // namespace
} // namespace halvoren

int main(int argc, char** argv) {
    std::uint64_t passes = 1'000'000;
    std::uint64_t seed = std::random_device{}();
    for (int i = 1; i < argc; ++i) {
        const std::string flag = argv[i];
        const auto value = i + 1 < argc ? halvoren::number(argv[i + 1]) : std::nullopt;
        if ((flag == "--passes" || flag == "--seed") && value) {
            (flag == "--passes" ? passes : seed) = *value;
            ++i;
        } else {
            std::fprintf(stderr, "usage: halvoren-soak [--passes N] [--seed S]\n");
            return 2;
        }
    }
    int qtArgc = 1;
    const QCoreApplication app(qtArgc, argv);
    // The helper's and the driver's log lines would bury the report; warnings still show.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false"));
    halvoren::Soak soak(seed, passes);
    return soak.run() == 0 ? 0 : 1;
}
