#include "platform/timer_source.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <algorithm>
#include <cmath>

namespace halvoren {

TimerHandle ManualTimerSource::schedule(double delaySeconds, std::function<void()> fire) {
    const double due = clock_.monotonicNow() + std::max(0.0, delaySeconds);
    const auto key = std::make_pair(due, nextSequence_++);
    pending_->emplace(key, std::move(fire));
    std::weak_ptr<Queue> weak = pending_;
    return TimerHandle([weak, key] {
        if (auto queue = weak.lock()) {
            queue->erase(key);
        }
    });
}

void ManualTimerSource::advance(double seconds) {
    const double target = clock_.monotonicNow() + std::max(0.0, seconds);
    while (!pending_->empty() && pending_->begin()->first.first <= target) {
        auto node = pending_->extract(pending_->begin());
        const double due = node.key().first;
        if (due > clock_.monotonicNow()) {
            clock_.advance(due - clock_.monotonicNow());
        }
        node.mapped()();
    }
    if (target > clock_.monotonicNow()) {
        clock_.advance(target - clock_.monotonicNow());
    }
}

TimerHandle QtTimerSource::schedule(double delaySeconds, std::function<void()> fire) {
    auto* timer = new QTimer();
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    const double ms = std::ceil(std::max(0.0, delaySeconds) * 1000.0);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, fire = std::move(fire)] {
        timer->deleteLater();
        fire();
    });
    timer->start(static_cast<int>(std::min(ms, 2.0e9)));
    // The timer deletes itself once it fired or was cancelled; a QPointer tells the handle which.
    QPointer<QTimer> guard(timer);
    return TimerHandle([guard] {
        if (guard) {
            guard->stop();
            guard->deleteLater();
        }
    });
}

} // namespace halvoren
