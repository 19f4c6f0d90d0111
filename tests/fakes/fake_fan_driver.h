#pragma once

#include "engine/fan_driver.h"

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace halvoren {

// A scripted link to the helper, for the engine's tests and benchmarks. Every call completes
// at once; failures are queued per call, and writes are recorded.
class FakeFanDriver final : public FanDriver {
public:
    struct Write {
        int fan = 0;
        double rpm = 0.0;
        friend bool operator==(const Write&, const Write&) = default;
    };

    // What the next calls answer.
    HelperState state = HelperState::connected();
    std::string version = "1.0.0";
    std::shared_ptr<SMCKernelBridge> bridge;         // sharedBridge()
    std::shared_ptr<SMCKernelBridge> reopenedBridge; // reopenBridgeIfNeeded()
    // The applied value the helper reports for a write; by default the requested RPM. A fan with
    // limits here gets its value clamped, as the helper does.
    std::map<int, std::pair<double, double>> limits;
    // Failures for the next writes, in order; an empty optional lets that write succeed.
    std::deque<std::optional<DriverFailure>> writeOutcomes;
    std::deque<DriverFailure> restoreFailures;

    // What was asked.
    std::vector<Write> writes;
    int restoreCalls = 0;
    int stateCalls = 0;
    int reopenCalls = 0;
    std::function<void()> lossHandler;
    std::function<void()> onUnregister; // run as the helper is let go

    std::shared_ptr<SMCKernelBridge> sharedBridge() const override { return bridge; }
    void setConnectionLossHandler(std::function<void()> handler) override {
        lossHandler = std::move(handler);
    }

    QCoro::Task<HelperState> currentState() override {
        ++stateCalls;
        co_return HelperState(state); // a copy: co_return of a member would move it out
    }
    QCoro::Task<HelperState> registerHelper() override { co_return HelperState(state); }
    QCoro::Task<HelperState> unregisterHelper() override {
        if (onUnregister) {
            onUnregister();
        }
        co_return HelperState::notRegistered();
    }
    QCoro::Task<HelperState> bounceHelper() override { co_return HelperState(state); }
    QCoro::Task<std::string> daemonVersion() override { co_return std::string(version); }
    QCoro::Task<double> setTargetRPM(int fan, double rpm) override {
        writes.push_back({fan, rpm});
        if (!writeOutcomes.empty()) {
            std::optional<DriverFailure> outcome = std::move(writeOutcomes.front());
            writeOutcomes.pop_front();
            if (outcome) {
                throw *outcome;
            }
        }
        if (const auto it = limits.find(fan); it != limits.end()) {
            co_return std::clamp(rpm, it->second.first, it->second.second);
        }
        co_return rpm;
    }
    QCoro::Task<void> restoreAuto() override {
        ++restoreCalls;
        if (!restoreFailures.empty()) {
            DriverFailure failure = restoreFailures.front();
            restoreFailures.pop_front();
            throw failure;
        }
        co_return;
    }
    std::shared_ptr<SMCKernelBridge> reopenBridgeIfNeeded() override {
        ++reopenCalls;
        return reopenedBridge;
    }
    void openLoginItemsSettings() override {}

    std::vector<double> writesTo(int fan) const {
        std::vector<double> values;
        for (const Write& write : writes) {
            if (write.fan == fan) {
                values.push_back(write.rpm);
            }
        }
        return values;
    }
};

} // namespace halvoren
