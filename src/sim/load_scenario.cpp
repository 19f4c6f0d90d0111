#include "sim/load_scenario.h"

#include "core/clamp.h"
#include "core/double_text.h"

#include <charconv>
#include <cmath>
#include <fstream>
#include <sstream>

namespace halvoren {
namespace {

class ConstantLoad final : public LoadScenario {
public:
    explicit ConstantLoad(Load load)
        : load_(load) {}
    Load at(double) override { return load_; }

private:
    Load load_;
};

class BurstLoad final : public LoadScenario {
public:
    explicit BurstLoad(BurstShape shape)
        : shape_(shape) {}
    Load at(double seconds) override {
        if (!(shape_.period > 0.0)) {
            return idleLevel;
        }
        const double phase = std::fmod(seconds, shape_.period);
        return phase < shape_.length ? shape_.peak : idleLevel;
    }

private:
    BurstShape shape_;
};

class ScriptedLoad final : public LoadScenario {
public:
    explicit ScriptedLoad(LoadScript script)
        : script_(std::move(script)) {}
    Load at(double seconds) override { return script_.at(seconds); }

private:
    LoadScript script_;
};

class HostLoad final : public LoadScenario {
public:
    explicit HostLoad(std::function<std::optional<CpuTimes>()> sampler)
        : sampler_(std::move(sampler)) {}

    Load at(double seconds) override {
        if (sampledAt_ && seconds - *sampledAt_ < 1.0) {
            return current_;
        }
        sampledAt_ = seconds;
        const auto sample = sampler_();
        if (sample && previous_) {
            if (const auto busy = busyFraction(*previous_, *sample)) {
                current_ = {*busy, *busy * 0.2};
            }
        }
        if (sample) {
            previous_ = sample;
        }
        return current_;
    }

private:
    std::function<std::optional<CpuTimes>()> sampler_;
    std::optional<CpuTimes> previous_;
    std::optional<double> sampledAt_;
    Load current_ = idleLevel;
};

double lerp(double a, double b, double t) {
    return a + (b - a) * t;
}

// Splits a line into numbers; none when any word is not a number.
std::optional<std::vector<double>> numbers(std::string_view line) {
    std::vector<double> result;
    std::size_t i = 0;
    while (i < line.size()) {
        if (line[i] == ' ' || line[i] == '\t' || line[i] == '\r') {
            ++i;
            continue;
        }
        double value = 0.0;
        const auto [next, error] = std::from_chars(line.data() + i, line.data() + line.size(), value);
        const auto consumed = static_cast<std::size_t>(next - line.data());
        const bool endsWord = consumed == line.size() || line[consumed] == ' ' || line[consumed] == '\t' ||
                              line[consumed] == '\r';
        if (error != std::errc{} || !endsWord || !std::isfinite(value)) {
            return std::nullopt;
        }
        result.push_back(value);
        i = consumed;
    }
    return result;
}

} // namespace

std::unique_ptr<LoadScenario> constantLoad(Load load) {
    return std::make_unique<ConstantLoad>(load);
}

std::unique_ptr<LoadScenario> idleLoad() {
    return constantLoad(idleLevel);
}

std::unique_ptr<LoadScenario> sustainedLoad(Load level) {
    return constantLoad(level);
}

std::unique_ptr<LoadScenario> burstLoad(BurstShape shape) {
    return std::make_unique<BurstLoad>(shape);
}

LoadScript LoadScript::parse(std::string_view text) {
    std::vector<Point> points;
    int lineNumber = 0;
    while (!text.empty()) {
        ++lineNumber;
        const std::size_t newline = text.find('\n');
        std::string_view line = text.substr(0, newline);
        text = newline == std::string_view::npos ? std::string_view{} : text.substr(newline + 1);
        line = line.substr(0, line.find('#'));

        const auto fail = [&](const std::string& why) {
            throw LoadScriptError("line " + std::to_string(lineNumber) + ": " + why);
        };
        const auto values = numbers(line);
        if (!values) {
            fail("expected numbers \"seconds cpu gpu\"");
        }
        if (values->empty()) {
            continue;
        }
        if (values->size() != 3) {
            fail("expected three numbers \"seconds cpu gpu\", found " + std::to_string(values->size()));
        }
        const Point point{(*values)[0], {(*values)[1], (*values)[2]}};
        if (!points.empty() && point.seconds < points.back().seconds) {
            fail("time " + doubleText(point.seconds) + " is before the previous point at " +
                 doubleText(points.back().seconds));
        }
        for (const auto& [name, value] :
             {std::pair{"cpu", point.load.cpu}, std::pair{"gpu", point.load.gpu}}) {
            if (value < 0.0 || value > 1.0) {
                fail(std::string(name) + " load " + doubleText(value) + " is outside 0...1");
            }
        }
        points.push_back(point);
    }
    if (points.empty()) {
        throw LoadScriptError("the script has no points");
    }
    return LoadScript(std::move(points));
}

LoadScript LoadScript::load(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw LoadScriptError(path.string() + ": cannot be read");
    }
    std::stringstream text;
    text << file.rdbuf();
    try {
        return parse(text.str());
    } catch (const LoadScriptError& error) {
        throw LoadScriptError(path.string() + ": " + error.what());
    }
}

Load LoadScript::at(double seconds) const {
    if (seconds < points_.front().seconds) {
        return points_.front().load;
    }
    // The last point at or before `seconds`; equal times make a step to the later point.
    std::size_t i = 0;
    while (i + 1 < points_.size() && points_[i + 1].seconds <= seconds) {
        ++i;
    }
    if (i + 1 == points_.size()) {
        return points_.back().load;
    }
    const Point& a = points_[i];
    const Point& b = points_[i + 1];
    const double t = clampUnit((seconds - a.seconds) / (b.seconds - a.seconds));
    return {lerp(a.load.cpu, b.load.cpu, t), lerp(a.load.gpu, b.load.gpu, t)};
}

std::unique_ptr<LoadScenario> scriptedLoad(LoadScript script) {
    return std::make_unique<ScriptedLoad>(std::move(script));
}

std::unique_ptr<LoadScenario> hostLoad(std::function<std::optional<CpuTimes>()> sampler) {
    return std::make_unique<HostLoad>(std::move(sampler));
}

std::unique_ptr<LoadScenario> loadScenarioNamed(std::string_view name) {
    if (name == "idle") {
        return idleLoad();
    }
    if (name == "burst") {
        return burstLoad();
    }
    if (name == "sustained") {
        return sustainedLoad();
    }
    if (name == "host") {
        return hostLoad();
    }
    return nullptr;
}

} // namespace halvoren
