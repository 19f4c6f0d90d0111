// The floor under the control loop's cost on a Mac running Linux: a bare loop that makes the
// reads a pass must make, and nothing else. Every pass reads each fan's speed, limits, target and
// mode; once a second it also reads every temperature and fan speed of the tree, as a sensor
// sweep does. Descriptors stay open and each reading is one pread from the start, the cheapest
// way sysfs allows. No writes, no helper, no event loop, no analytics.
//
//   halvoren-bench-floor TREE PASSES_PER_SECOND
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

std::vector<int> openAll(const std::filesystem::path& tree, bool (*wanted)(const std::string&)) {
    std::vector<int> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(tree)) {
        if (wanted(entry.path().filename().string())) {
            const int fd = ::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC);
            if (fd >= 0) {
                files.push_back(fd);
            }
        }
    }
    return files;
}

bool fanAttribute(const std::string& name) {
    return name.starts_with("fan") &&
           (name.ends_with("_input") || name.ends_with("_min") || name.ends_with("_max") ||
            name.ends_with("_output") || name.ends_with("_manual"));
}

bool sweptAttribute(const std::string& name) {
    return name.ends_with("_input") && (name.starts_with("temp") || name.starts_with("fan"));
}

long readAll(const std::vector<int>& files) {
    long sum = 0;
    char buffer[32];
    for (const int fd : files) {
        const ssize_t n = ::pread(fd, buffer, sizeof buffer - 1, 0);
        if (n > 0) {
            buffer[n] = '\0';
            sum += std::strtol(buffer, nullptr, 10);
        }
    }
    return sum;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3 || std::atof(argv[2]) <= 0.0) {
        std::fprintf(stderr, "usage: %s TREE PASSES_PER_SECOND\n", argv[0]);
        return 2;
    }
    const std::filesystem::path tree = argv[1];
    const double rate = std::atof(argv[2]);
    const std::vector<int> fans = openAll(tree, fanAttribute);
    const std::vector<int> swept = openAll(tree, sweptAttribute);
    if (fans.empty()) {
        std::fprintf(stderr, "no fan attributes under %s\n", argv[1]);
        return 1;
    }
    const long period = static_cast<long>(1e9 / rate);
    timespec lastSweep{};
    volatile long sink = 0;
    for (;;) {
        timespec now{};
        ::clock_gettime(CLOCK_MONOTONIC, &now);
        sink = sink + readAll(fans);
        if (now.tv_sec > lastSweep.tv_sec || lastSweep.tv_sec == 0) {
            sink = sink + readAll(swept);
            lastSweep = now;
        }
        // Sleep the period after the pass, as the loop does: no drift correction.
        timespec sleep{period / 1000000000L, period % 1000000000L};
        while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &sleep, &sleep) == EINTR) {
        }
    }
}
