#include "platform/timer_source.h"

#include <QObject>
#include <QPointer>
#include <QThread>
#include <QTimer>
#include <QTimerEvent>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_map>

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

// Receives the timers of the source's own thread: each fires its callback once, then is gone.
// A timer's id may be given out again once it is killed, so a handle names its timer by id and
// by a sequence number that is never reused.
class QtTimerSource::Host final : public QObject {
public:
    TimerHandle start(int ms, std::function<void()> fire) {
        const int id = startTimer(ms, Qt::PreciseTimer);
        if (id == 0) {
            return {};
        }
        const std::uint64_t sequence = nextSequence_++;
        pending_.insert_or_assign(id, Pending{sequence, std::move(fire)});
        QPointer<Host> host(this);
        return TimerHandle([host, id, sequence] {
            if (host) {
                host->cancel(id, sequence);
            }
        });
    }

protected:
    void timerEvent(QTimerEvent* event) override {
        const int id = event->timerId();
        killTimer(id);
        const auto found = pending_.find(id);
        if (found == pending_.end()) {
            return;
        }
        // Out of the table before it runs: the callback may schedule again, even reuse the id.
        std::function<void()> fire = std::move(found->second.fire);
        pending_.erase(found);
        fire();
    }

private:
    struct Pending {
        std::uint64_t sequence;
        std::function<void()> fire;
    };

    void cancel(int id, std::uint64_t sequence) {
        const auto found = pending_.find(id);
        if (found != pending_.end() && found->second.sequence == sequence) {
            killTimer(id);
            pending_.erase(found);
        }
    }

    std::unordered_map<int, Pending> pending_;
    std::uint64_t nextSequence_ = 0;
};

QtTimerSource::QtTimerSource(const Clock& clock)
    : clock_(clock) {}

QtTimerSource::~QtTimerSource() = default;

TimerHandle QtTimerSource::schedule(double delaySeconds, std::function<void()> fire) {
    const double ms = std::ceil(std::max(0.0, delaySeconds) * 1000.0);
    const int interval = static_cast<int>(std::min(ms, 2.0e9));
    if (!host_) {
        host_ = std::make_unique<Host>();
    }
    if (host_->thread() == QThread::currentThread()) {
        return host_->start(interval, std::move(fire));
    }
    auto* timer = new QTimer();
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, fire = std::move(fire)] {
        timer->deleteLater();
        fire();
    });
    timer->start(interval);
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
