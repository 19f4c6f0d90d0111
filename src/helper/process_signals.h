#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

class QSocketNotifier;

namespace halvoren {

// Turns SIGTERM and SIGINT into a call on the calling thread's event loop, through a pipe
// that the signal handler writes to, so that the daemon can hand the fans back before it
// exits. One instance at a time; the previous dispositions return when it is destroyed.
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

// Writes each (file, value) pair when the process dies of a fatal signal (SIGSEGV, SIGBUS,
// SIGILL, SIGFPE, SIGABRT), then lets the signal take its course. Only plain file writes are
// possible there, so this serves the sysfs writers; an empty list installs nothing.
void installCrashHandBack(const std::vector<std::pair<std::filesystem::path, long long>>& writes);

} // namespace halvoren
