#include "platform/core_counts.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace halvoren {
namespace {

namespace fs = std::filesystem;
using CoreCounts = DeviceSensorMap::CoreCounts;

std::optional<std::string> readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// The number at the start of `text`, in `base`; none when there is none.
std::optional<std::int64_t> leadingNumber(std::string_view text, int base = 10) {
    std::int64_t value = 0;
    const auto [next, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error != std::errc{} || next == text.data()) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::int64_t> readNumber(const fs::path& path) {
    const std::optional<std::string> text = readFile(path);
    return text ? leadingNumber(*text) : std::nullopt;
}

// A kernel CPU list such as "0-3,6,8-11"; none when it cannot be read or parsed.
std::optional<std::set<int>> readCpuList(const fs::path& path) {
    const std::optional<std::string> text = readFile(path);
    if (!text) {
        return std::nullopt;
    }
    std::set<int> cpus;
    std::string_view rest = *text;
    while (!rest.empty() && rest.front() != '\n') {
        const std::size_t comma = rest.find_first_of(",\n");
        const std::string_view item = rest.substr(0, comma);
        rest =
            comma == std::string_view::npos ? std::string_view{} : rest.substr(comma + (rest[comma] == ','));
        const std::size_t dash = item.find('-');
        const std::optional<std::int64_t> first = leadingNumber(item.substr(0, dash));
        const std::optional<std::int64_t> last =
            dash == std::string_view::npos ? first : leadingNumber(item.substr(dash + 1));
        if (!first || !last || *first < 0 || *last < *first || *last > 65535) {
            return std::nullopt;
        }
        for (auto cpu = *first; cpu <= *last; ++cpu) {
            cpus.insert(static_cast<int>(cpu));
        }
    }
    if (cpus.empty()) {
        return std::nullopt;
    }
    return cpus;
}

// The numbers of the cpuN directories, ascending, keeping only present CPUs when the kernel says
// which are.
std::vector<int> presentCpus(const fs::path& cpuRoot) {
    const std::optional<std::set<int>> present = readCpuList(cpuRoot / "present");
    std::vector<int> cpus;
    std::error_code ec;
    for (fs::directory_iterator it(cpuRoot, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if (!name.starts_with("cpu") || name.size() == 3 ||
            !std::all_of(name.begin() + 3, name.end(), [](char c) { return c >= '0' && c <= '9'; })) {
            continue;
        }
        const std::optional<std::int64_t> number = leadingNumber(std::string_view(name).substr(3));
        if (number && (!present || present->contains(static_cast<int>(*number)))) {
            cpus.push_back(static_cast<int>(*number));
        }
    }
    std::sort(cpus.begin(), cpus.end());
    return cpus;
}

// Cores of at least three quarters of the largest capacity are performance cores; the rest,
// when there are any, efficiency cores.
std::optional<CoreCounts> splitByCapacity(const fs::path& cpuRoot, const std::vector<int>& cpus) {
    std::vector<std::int64_t> capacities;
    for (const int cpu : cpus) {
        const std::optional<std::int64_t> capacity =
            readNumber(cpuRoot / ("cpu" + std::to_string(cpu)) / "cpu_capacity");
        if (!capacity || *capacity <= 0) {
            return std::nullopt;
        }
        capacities.push_back(*capacity);
    }
    const std::int64_t largest = *std::max_element(capacities.begin(), capacities.end());
    const auto performance = std::count_if(capacities.begin(), capacities.end(), [&](std::int64_t capacity) {
        return capacity * 4 >= largest * 3;
    });
    const auto efficiency = static_cast<std::int64_t>(capacities.size()) - performance;
    if (efficiency == 0) {
        return std::nullopt;
    }
    return CoreCounts{static_cast<int>(performance), static_cast<int>(efficiency)};
}

struct Core {
    std::string kind; // the most specific compatible string, such as "apple,blizzard"
    std::optional<std::int64_t> maxFrequency;
};

// The first of a property's NUL-separated strings.
std::optional<std::string> firstCompatible(const fs::path& path) {
    std::optional<std::string> text = readFile(path);
    if (!text) {
        return std::nullopt;
    }
    text->resize(std::min(text->find('\0'), text->size()));
    if (text->empty()) {
        return std::nullopt;
    }
    return text;
}

// Counts by which of exactly two kinds each core is, the cores listed boot core first. The
// kind with the higher top frequency is the performance kind when the kernel tells; otherwise
// the boot core's kind is the efficiency kind, as on every heterogeneous ARM design that boots
// from its small cluster.
std::optional<CoreCounts> splitByKind(const std::vector<Core>& cores) {
    if (cores.empty()) {
        return std::nullopt;
    }
    const std::string& bootKind = cores.front().kind;
    const auto other =
        std::find_if(cores.begin(), cores.end(), [&](const Core& c) { return c.kind != bootKind; });
    if (other == cores.end()) {
        return std::nullopt;
    }
    const std::string& otherKind = other->kind;
    std::optional<std::int64_t> bootFrequency;
    std::optional<std::int64_t> otherFrequency;
    int bootCount = 0;
    int otherCount = 0;
    for (const Core& core : cores) {
        const bool boot = core.kind == bootKind;
        if (!boot && core.kind != otherKind) {
            return std::nullopt; // a third kind: no two-level split
        }
        (boot ? bootCount : otherCount) += 1;
        std::optional<std::int64_t>& frequency = boot ? bootFrequency : otherFrequency;
        if (core.maxFrequency) {
            frequency = std::max(frequency.value_or(0), *core.maxFrequency);
        }
    }
    const bool bootIsFaster = bootFrequency && otherFrequency && *bootFrequency > *otherFrequency;
    return bootIsFaster ? CoreCounts{bootCount, otherCount} : CoreCounts{otherCount, bootCount};
}

// Each present CPU's kind from its device-tree node; none unless every CPU has one.
std::optional<std::vector<Core>> kindsOfCpus(const fs::path& cpuRoot, const std::vector<int>& cpus) {
    std::vector<Core> cores;
    for (const int cpu : cpus) {
        const fs::path dir = cpuRoot / ("cpu" + std::to_string(cpu));
        std::optional<std::string> kind = firstCompatible(dir / "of_node" / "compatible");
        if (!kind) {
            return std::nullopt;
        }
        cores.push_back({std::move(*kind), readNumber(dir / "cpufreq" / "cpuinfo_max_freq")});
    }
    return cores;
}

// The enabled "cpu@<address>" nodes of the device tree, lowest address (the boot core) first.
std::vector<Core> kindsInDeviceTree(const fs::path& cpusNode) {
    std::vector<std::pair<std::int64_t, Core>> found;
    std::error_code ec;
    for (fs::directory_iterator it(cpusNode, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if (!name.starts_with("cpu@")) {
            continue;
        }
        if (const std::optional<std::string> status = readFile(it->path() / "status");
            status && !status->starts_with("ok")) { // "okay" or "ok"; "disabled" and "fail" drop out
            continue;
        }
        std::optional<std::string> kind = firstCompatible(it->path() / "compatible");
        const std::optional<std::int64_t> address = leadingNumber(std::string_view(name).substr(4), 16);
        if (kind && address) {
            found.emplace_back(*address, Core{std::move(*kind), std::nullopt});
        }
    }
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<Core> cores;
    cores.reserve(found.size());
    for (auto& [address, core] : found) {
        cores.push_back(std::move(core));
    }
    return cores;
}

} // namespace

DeviceSensorMap::CoreCounts hostCoreCounts(const std::filesystem::path& sysfsRoot) {
    const fs::path cpuRoot = sysfsRoot / "devices" / "system" / "cpu";
    const std::vector<int> cpus = presentCpus(cpuRoot);
    if (!cpus.empty()) {
        if (const std::optional<CoreCounts> counts = splitByCapacity(cpuRoot, cpus)) {
            return *counts;
        }
        // Kernels without capacities in the device tree report one capacity for every core.
        if (const std::optional<std::vector<Core>> cores = kindsOfCpus(cpuRoot, cpus)) {
            return splitByKind(*cores).value_or(CoreCounts{});
        }
    }
    return splitByKind(kindsInDeviceTree(sysfsRoot / "firmware" / "devicetree" / "base" / "cpus"))
        .value_or(CoreCounts{});
}

} // namespace halvoren
