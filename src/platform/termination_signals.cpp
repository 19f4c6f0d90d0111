#include "platform/termination_signals.h"

#include <QSocketNotifier>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace halvoren {
namespace {

constexpr std::array terminationSignals{SIGTERM, SIGINT};

int pipeRead = -1;
int pipeWrite = -1;
std::array<struct sigaction, terminationSignals.size()> previous{};

extern "C" void onTerminationSignal(int signal) {
    const int saved = errno;
    const auto byte = static_cast<unsigned char>(signal);
    [[maybe_unused]] const auto ignored = ::write(pipeWrite, &byte, 1);
    errno = saved;
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void(int)> handler)
    : handler_(std::move(handler)) {
    int ends[2];
    if (pipeRead >= 0 || ::pipe(ends) < 0) {
        std::fprintf(stderr, "fatal: cannot watch for termination signals\n");
        std::abort();
    }
    for (const int fd : ends) {
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
        ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    }
    pipeRead = ends[0];
    pipeWrite = ends[1];
    notifier_ = std::make_unique<QSocketNotifier>(pipeRead, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] {
        unsigned char byte = 0;
        while (::read(pipeRead, &byte, 1) == 1) {
            handler_(byte);
        }
    });
    struct sigaction action {};
    action.sa_handler = onTerminationSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < terminationSignals.size(); ++i) {
        ::sigaction(terminationSignals[i], &action, &previous[i]);
    }
}

TerminationSignals::~TerminationSignals() {
    for (std::size_t i = 0; i < terminationSignals.size(); ++i) {
        ::sigaction(terminationSignals[i], &previous[i], nullptr);
    }
    notifier_.reset();
    ::close(pipeRead);
    ::close(pipeWrite);
    pipeRead = -1;
    pipeWrite = -1;
}

} // namespace halvoren
