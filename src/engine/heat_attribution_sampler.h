#pragma once

#include "core/heat_attribution.h"
#include "platform/clock.h"

#include <QString>
#include <QThreadPool>
#include <chrono>
#include <memory>
#include <optional>
#include <qcoro/qcorotask.h>
#include <vector>

namespace halvoren {

class ProcessCPUTimes;

// Which applications heat the machine: the CPU time each used since the last sample, and its
// running total for the day, kept in one small file per day ("heat-<day>.json") in `directory`.
// A serial owner of its state: every sample runs on its own one-thread worker. File failures are
// silent; an unwritten day is retried at the next sample.
class HeatAttributionSampler {
public:
    // A day's file is rewritten at most this often while it changes.
    static constexpr double persistInterval = 60.0;

    HeatAttributionSampler(std::shared_ptr<ProcessCPUTimes> processes, QString directory);
    ~HeatAttributionSampler();
    HeatAttributionSampler(const HeatAttributionSampler&) = delete;
    HeatAttributionSampler& operator=(const HeatAttributionSampler&) = delete;

    // One sample on the worker. `localNow` is `now` on the user's calendar, which decides the day.
    QCoro::Task<HeatSnapshot> sample(Clock::WallTime now, std::chrono::local_seconds localNow);
    // The same on the calling thread; only for code already serialised with the worker.
    HeatSnapshot sampleNow(Clock::WallTime now, std::chrono::local_seconds localNow);

private:
    // The first sample loads the day: reading files stays off the thread that makes the sampler.
    void startDay(std::chrono::local_days day, std::chrono::local_seconds localNow);
    void rolloverIfNeeded(Clock::WallTime now, std::chrono::local_seconds localNow);
    void sampleProcessDeltas();
    void persist(Clock::WallTime now);
    void deleteStaleFiles(std::chrono::local_seconds localNow) const;
    bool directoryIsSafeToUse() const;
    QString dayPath(std::chrono::local_days day) const;

    std::shared_ptr<ProcessCPUTimes> processes_;
    QString directory_;
    CPUTimeBaselines lastCPUTimes_;
    HeatTotals dailyTotals_;
    std::optional<std::chrono::local_days> currentDayStart_; // none before the first sample
    std::optional<Clock::WallTime> lastPersistDate_;
    bool isDirty_ = false;
    // Reused by every sample.
    std::vector<ProcessCPUTime> readings_;
    std::vector<ProcessCPUDelta> cpuDeltas_;
    std::vector<HeatDelta> deltas_;

    // Declared last so that it is destroyed first: its destructor waits for queued work,
    // which still needs the members above.
    QThreadPool worker_;
};

} // namespace halvoren
