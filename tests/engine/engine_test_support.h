#pragma once

#include "engine/helper_state.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <qcoro/qcorotask.h>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

namespace halvoren {

inline void PrintTo(const HelperState& state, std::ostream* out) {
    *out << state.description();
}
inline void PrintTo(const DriverFailure& failure, std::ostream* out) {
    *out << failure.domain() << " " << failure.code() << ": " << failure.message();
}

// Runs the event loop until `done` holds, for at most `limitMs` of real time, so a test that
// fails cannot hang. Returns whether `done` held.
inline bool pumpUntil(const std::function<bool()>& done, int limitMs = 5000) {
    QTimer tick; // guarantees an event to wake the loop
    tick.start(2);
    QElapsedTimer elapsed;
    elapsed.start();
    while (!done()) {
        if (elapsed.hasExpired(limitMs)) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

// Lets pending socket traffic and queued events run for a short real time.
inline void pumpFor(int ms) {
    QElapsedTimer elapsed;
    elapsed.start();
    pumpUntil([&] { return elapsed.hasExpired(ms); }, ms + 1000);
}

// What a driver call ended with, and how many times it ended.
template <class T>
struct Completion {
    int completions = 0;
    std::optional<T> value;
    std::optional<DriverFailure> failure;

    bool done() const { return completions > 0; }
};

template <class T>
using CompletionOf = Completion<std::conditional_t<std::is_void_v<T>, std::monostate, T>>;

template <class T>
QCoro::Task<void> track(QCoro::Task<T> task, std::shared_ptr<CompletionOf<T>> out) {
    try {
        if constexpr (std::is_void_v<T>) {
            co_await task;
            out->value = std::monostate{};
        } else {
            out->value = co_await task;
        }
    } catch (const DriverFailure& failure) {
        out->failure = failure;
    }
    ++out->completions;
}

// Starts a call; it runs on while the test drives time and events, and its outcome lands in
// the returned record.
template <class T>
std::shared_ptr<CompletionOf<T>> begin(QCoro::Task<T>&& task) {
    auto out = std::make_shared<CompletionOf<T>>();
    [[maybe_unused]] auto tracker = track(std::move(task), out);
    return out;
}

// Every message logged while it exists.
class LogCapture {
public:
    LogCapture() {
        current() = this;
        previous_ = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
            if (auto* capture = current()) {
                capture->messages.push_back(text.toStdString());
            }
        });
    }
    ~LogCapture() {
        qInstallMessageHandler(previous_);
        current() = nullptr;
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    long count(const std::string& message) const {
        return std::count(messages.begin(), messages.end(), message);
    }

    std::vector<std::string> messages;

private:
    static LogCapture*& current() {
        static LogCapture* capture = nullptr;
        return capture;
    }
    QtMessageHandler previous_ = nullptr;
};

} // namespace halvoren
