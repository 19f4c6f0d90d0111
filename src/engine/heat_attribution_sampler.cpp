#include "engine/heat_attribution_sampler.h"

#include "platform/atomic_file.h"
#include "platform/process_cpu_times.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

namespace halvoren {
namespace {

HeatTotals loadTotals(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray bytes = file.readAll();
    return decodeHeatTotals(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())))
        .value_or(HeatTotals{});
}

} // namespace

HeatAttributionSampler::HeatAttributionSampler(std::shared_ptr<ProcessCPUTimes> processes, QString directory)
    : processes_(std::move(processes))
    , directory_(std::move(directory)) {
    worker_.setMaxThreadCount(1);
}

HeatAttributionSampler::~HeatAttributionSampler() {
    worker_.waitForDone();
}

QCoro::Task<HeatSnapshot> HeatAttributionSampler::sample(Clock::WallTime now,
                                                         std::chrono::local_seconds localNow) {
    co_return co_await QtConcurrent::run(&worker_,
                                         [this, now, localNow] { return sampleNow(now, localNow); });
}

HeatSnapshot HeatAttributionSampler::sampleNow(Clock::WallTime now, std::chrono::local_seconds localNow) {
    if (!currentDayStart_) {
        startDay(std::chrono::floor<std::chrono::days>(localNow), localNow);
    } else {
        rolloverIfNeeded(now, localNow);
    }
    sampleProcessDeltas();
    HeatSnapshot snapshot;
    if (tallyHeat(deltas_, dailyTotals_, snapshot)) {
        isDirty_ = true;
    }
    if (isDirty_ && (!lastPersistDate_ ||
                     std::chrono::duration<double>(now - *lastPersistDate_).count() >= persistInterval)) {
        persist(now);
    }
    return snapshot;
}

void HeatAttributionSampler::startDay(std::chrono::local_days day, std::chrono::local_seconds localNow) {
    currentDayStart_ = day;
    dailyTotals_ = loadTotals(dayPath(day));
    isDirty_ = false;
    lastPersistDate_.reset();
    deleteStaleFiles(localNow);
}

void HeatAttributionSampler::rolloverIfNeeded(Clock::WallTime now, std::chrono::local_seconds localNow) {
    const auto day = std::chrono::floor<std::chrono::days>(localNow);
    if (day == currentDayStart_) {
        return;
    }
    // The old day's totals go to the old day's file.
    if (isDirty_) {
        persist(now);
    }
    startDay(day, localNow);
}

void HeatAttributionSampler::sampleProcessDeltas() {
    deltas_.clear();
    if (!processes_->readAll(readings_)) {
        return; // no process list: the baselines stay as they were
    }
    lastCPUTimes_.advance(readings_, cpuDeltas_);
    for (const ProcessCPUDelta& delta : cpuDeltas_) {
        if (const std::optional<std::string> name = processes_->processName(delta.pid)) {
            deltas_.push_back({std::string(stripHelperSuffix(*name)), delta.seconds, delta.pid});
        }
    }
}

void HeatAttributionSampler::persist(Clock::WallTime now) {
    if (!directoryIsSafeToUse()) {
        return;
    }
    if (!QFileInfo::exists(directory_)) {
        if (!QDir().mkpath(directory_)) {
            return;
        }
        QFile::setPermissions(directory_, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    const std::optional<std::string> text = encodeHeatTotals(dailyTotals_);
    if (!text) {
        return;
    }
    if (writeFileAtomically(dayPath(*currentDayStart_), *text)) {
        return;
    }
    isDirty_ = false;
    lastPersistDate_ = now;
}

void HeatAttributionSampler::deleteStaleFiles(std::chrono::local_seconds localNow) const {
    if (!directoryIsSafeToUse()) {
        return;
    }
    const QDir dir(directory_);
    for (const QString& name : dir.entryList({QStringLiteral("heat-*.json")}, QDir::Files)) {
        if (isStaleHeatFile(name.toStdString(), localNow)) {
            QFile::remove(dir.filePath(name));
        }
    }
}

bool HeatAttributionSampler::directoryIsSafeToUse() const {
    const QFileInfo info(directory_);
    if (info.isSymLink()) {
        return false;
    }
    // A folder that does not exist yet is made at the first write.
    return !info.exists() || info.isDir();
}

QString HeatAttributionSampler::dayPath(std::chrono::local_days day) const {
    return QDir(directory_).filePath(QString::fromStdString(heatFileName(day)));
}

} // namespace halvoren
