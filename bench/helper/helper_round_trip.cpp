// Measures the fan-control helper as a process: the round trip of setTargetRPM over its socket,
// and how long the fans stay forced after the client that forced them is killed.
//
//   halvoren-bench-helper [ROUND_TRIPS [KILLS]]
//
// It starts the helper of this build with --simulate in a temporary directory and reads the
// simulated controller through its socket, as any other reader would.

#include "core/frame_codec.h"
#include "fakes/forcing_client.h"
#include "fakes/helper_process.h"
#include "smc/smc_error.h"
#include "smc/smc_kernel_bridge.h"
#include "smc/socket_smc_transport.h"
#include "smc/unix_socket.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace halvoren;
using halvoren::testing::connectTo;
using Clock = std::chrono::steady_clock;

[[noreturn]] void fail(const std::string& message) {
    std::fprintf(stderr, "halvoren-bench-helper: %s\n", message.c_str());
    std::exit(1);
}

std::string setTarget(std::uint64_t id, int fan, double rpm) {
    return nlohmann::json{{"id", id}, {"method", "setTargetRPM"}, {"fan", fan}, {"rpm", rpm}}.dump();
}

// One request and its reply payload.
std::string roundTrip(int fd, const std::string& frame) {
    const auto deadline = Clock::now() + std::chrono::seconds(5);
    std::array<std::uint8_t, 4> header{};
    if (UnixSocket::sendAll(fd, reinterpret_cast<const std::uint8_t*>(frame.data()), frame.size(),
                            deadline) ||
        UnixSocket::receiveAll(fd, header.data(), header.size(), deadline)) {
        fail("the helper stopped answering");
    }
    std::string payload((header[0] << 24) | (header[1] << 16) | (header[2] << 8) | header[3], '\0');
    if (UnixSocket::receiveAll(fd, reinterpret_cast<std::uint8_t*>(payload.data()), payload.size(),
                               deadline)) {
        fail("the helper stopped answering");
    }
    return payload;
}

double percentile(std::vector<double> values, double fraction) {
    std::sort(values.begin(), values.end());
    const auto index = static_cast<std::size_t>(fraction * static_cast<double>(values.size() - 1) + 0.5);
    return values[index];
}

bool everyFanAutomatic(SMCKernelBridge& bridge) {
    return bridge.read("F0Md") == 0.0 && bridge.read("F1Md") == 0.0;
}

} // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 20000;
    const int kills = argc > 2 ? std::atoi(argv[2]) : 20;
    if (rounds < 1 || kills < 1) {
        fail("usage: halvoren-bench-helper [ROUND_TRIPS [KILLS]]");
    }

    char pattern[] = "/tmp/hvbXXXXXX";
    if (::mkdtemp(pattern) == nullptr) {
        fail("cannot make a temporary directory");
    }
    const std::filesystem::path directory = pattern;
    const std::string socket = (directory / "helper.sock").string();
    const std::string smc = (directory / "smc.sock").string();

    const pid_t helper = ::fork();
    if (helper == 0) {
        ::execl(HALVOREN_HELPER_BINARY, HALVOREN_HELPER_BINARY, "--simulate", "--socket", socket.c_str(),
                "--smc-socket", smc.c_str(), static_cast<char*>(nullptr));
        ::_exit(127);
    }
    UnixSocket::FileDescriptor client;
    for (int attempt = 0; attempt < 2000 && !client.valid(); ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        client = connectTo(socket);
    }
    if (!client.valid()) {
        fail("the helper did not start");
    }

    // Round trips of setTargetRPM, alternating targets so that every call writes.
    std::vector<double> micros;
    micros.reserve(static_cast<std::size_t>(rounds));
    for (int i = 0; i < rounds; ++i) {
        const auto frame =
            frameBytes(setTarget(static_cast<std::uint64_t>(i), 0, i % 2 == 0 ? 2000.0 : 3000.0));
        const auto start = Clock::now();
        roundTrip(client.get(), frame);
        micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    std::printf("setTargetRPM round trip over %d calls: median %.1f us, p99 %.1f us, max %.1f us\n", rounds,
                percentile(micros, 0.5), percentile(micros, 0.99), percentile(micros, 1.0));
    client.reset(); // the helper hands the fans back, and waits for the next client

    // From SIGKILL of the forcing client to both fans read back as automatic.
    SMCKernelBridge bridge(std::make_unique<SocketSMCTransport>(smc));
    const std::vector<std::string> frames{frameBytes(setTarget(1, 0, 4000)),
                                          frameBytes(setTarget(2, 1, 4000))};
    std::vector<double> recoveries;
    for (int k = 0; k < kills; ++k) {
        int ready[2];
        if (::pipe(ready) < 0) {
            fail("cannot make a pipe");
        }
        const pid_t child = halvoren::testing::forkForcingClient(socket, frames, ready[1]);
        ::close(ready[1]);
        pollfd entry{ready[0], POLLIN, 0};
        char byte = 0;
        if (::poll(&entry, 1, 5000) != 1 || ::read(ready[0], &byte, 1) != 1 || everyFanAutomatic(bridge)) {
            fail("the client could not force the fans");
        }
        ::close(ready[0]);
        const auto killed = Clock::now();
        ::kill(child, SIGKILL);
        while (!everyFanAutomatic(bridge)) {
            if (Clock::now() - killed > std::chrono::seconds(10)) {
                fail("the fans stayed forced after their client was killed");
            }
        }
        recoveries.push_back(std::chrono::duration<double, std::micro>(Clock::now() - killed).count());
        ::waitpid(child, nullptr, 0);
    }
    std::printf("SIGKILL of the client to every fan automatic, over %d kills: median %.1f us, max %.1f us\n",
                kills, percentile(recoveries, 0.5), percentile(recoveries, 1.0));

    ::kill(helper, SIGTERM);
    int status = 0;
    ::waitpid(helper, &status, 0);
    std::filesystem::remove_all(directory);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : 1;
}
