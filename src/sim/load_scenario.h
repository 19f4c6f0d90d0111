#pragma once

#include "platform/host_cpu_load.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace halvoren {

// How busy the simulated machine is: fractions 0...1 of its processor and its graphics power.
struct Load {
    double cpu = 0.0;
    double gpu = 0.0;

    friend bool operator==(const Load&, const Load&) = default;
};

// A load as a function of time. `at` gets the seconds since the scenario began, never
// decreasing from one call to the next.
class LoadScenario {
public:
    virtual ~LoadScenario() = default;
    virtual Load at(double seconds) = 0;

protected:
    LoadScenario() = default;
    LoadScenario(const LoadScenario&) = default;
    LoadScenario& operator=(const LoadScenario&) = default;
};

// What a machine does with nothing open: background housekeeping only.
inline constexpr Load idleLevel{0.04, 0.02};

std::unique_ptr<LoadScenario> constantLoad(Load load);
std::unique_ptr<LoadScenario> idleLoad();
// A long compile or render: every core busy, the GPU half busy.
std::unique_ptr<LoadScenario> sustainedLoad(Load level = {1.0, 0.5});

// Idle with a spike of `length` seconds at the start of every `period`.
struct BurstShape {
    double period = 30.0;
    double length = 6.0;
    Load peak{0.95, 0.4};
};
std::unique_ptr<LoadScenario> burstLoad(BurstShape shape = {});

class LoadScriptError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A load over time from text: one "seconds cpu gpu" point per line, loads as fractions 0...1,
// times not decreasing. Blank lines and text after '#' are ignored. Between points the load
// is interpolated linearly; before the first and after the last it holds; two points at the
// same time make a step.
class LoadScript {
public:
    struct Point {
        double seconds;
        Load load;
    };

    // Throws LoadScriptError naming the line at fault.
    static LoadScript parse(std::string_view text);
    static LoadScript load(const std::filesystem::path& path);

    Load at(double seconds) const;
    const std::vector<Point>& points() const { return points_; }

private:
    explicit LoadScript(std::vector<Point> points)
        : points_(std::move(points)) {}

    std::vector<Point> points_;
};

std::unique_ptr<LoadScenario> scriptedLoad(LoadScript script);

// The host's own processor load, sampled at most once a simulated second; the GPU follows at
// a fifth of it. Before the second sample, or when the host gives no times, the load is idle.
std::unique_ptr<LoadScenario> hostLoad(std::function<std::optional<CpuTimes>()> sampler = hostCpuTimes);

// "idle", "burst", "sustained" or "host"; none for another name.
std::unique_ptr<LoadScenario> loadScenarioNamed(std::string_view name);

} // namespace halvoren
