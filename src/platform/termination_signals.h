#pragma once

#include <functional>
#include <memory>

class QSocketNotifier;

namespace halvoren {

// Turns SIGTERM and SIGINT into a call on the calling thread's event loop, through a pipe
// that the signal handler writes to, so that a program can hand the fans back before it exits.
// One instance at a time; the previous dispositions return when it is destroyed.
class TerminationSignals {
public:
    explicit TerminationSignals(std::function<void(int signal)> handler);
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

private:
    std::function<void(int)> handler_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace halvoren
