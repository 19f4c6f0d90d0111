#include "sim/thermal_model.h"

#include "core/clamp.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace halvoren {
namespace {

void requireFan(std::size_t fan, std::size_t count) {
    if (fan >= count) {
        std::fprintf(stderr, "fatal: simulated fan %zu does not exist\n", fan);
        std::abort();
    }
}

} // namespace

ThermalModel::ThermalModel(ThermalSpec design)
    : design_(std::move(design))
    , powers_(design_.nodes.size(), 0.0)
    , fans_(design_.fans.size())
    , faults_(design_.fans.size()) {
    for (const auto& node : design_.nodes) {
        temperatures_.push_back(node.initialTemperature);
    }
    // Start settled: the fans already turn at the speed the firmware wants for these temperatures.
    updateFirmwareState();
    for (std::size_t i = 0; i < fans_.size(); ++i) {
        fans_[i].target = firmwareTarget(i);
        fans_[i].actual = fans_[i].target;
    }
}

std::optional<std::size_t> ThermalModel::nodeIndex(std::string_view id) const {
    for (std::size_t i = 0; i < design_.nodes.size(); ++i) {
        if (design_.nodes[i].id == id) {
            return i;
        }
    }
    return std::nullopt;
}

double ThermalModel::hottest() const {
    return temperatures_.empty() ? design_.ambient
                                 : *std::max_element(temperatures_.begin(), temperatures_.end());
}

double ThermalModel::airflow() const {
    if (fans_.empty()) {
        return 0.0;
    }
    double sum = 0.0;
    for (std::size_t i = 0; i < fans_.size(); ++i) {
        sum += design_.fans[i].maximum > 0.0 ? clampUnit(fans_[i].actual / design_.fans[i].maximum) : 0.0;
    }
    return sum / static_cast<double>(fans_.size());
}

void ThermalModel::setForced(std::size_t fan, bool forced) {
    requireFan(fan, fans_.size());
    fans_[fan].forced = forced;
}

void ThermalModel::setTarget(std::size_t fan, double rpm) {
    requireFan(fan, fans_.size());
    fans_[fan].target = rpm;
}

void ThermalModel::setFault(std::size_t fan, FanFault fault) {
    requireFan(fan, fans_.size());
    faults_[fan] = fault;
}

void ThermalModel::step(Load load) {
    const double dt = stepSeconds;
    const std::size_t n = design_.nodes.size();
    double throttle = 1.0;
    if (design_.throttle && design_.throttle->span > 0.0) {
        const double over = clampUnit((hottest() - design_.throttle->start) / design_.throttle->span);
        throttle = 1.0 - (1.0 - design_.throttle->floor) * over;
    }
    const double air = airflow();

    // Every flow is computed from the old temperatures before any changes, so node order does not matter.
    std::vector<double>& heat = heat_;
    heat.assign(n, 0.0);
    for (std::size_t i = 0; i < n; ++i) {
        const auto& node = design_.nodes[i];
        powers_[i] = node.idlePower +
                     throttle * (node.cpuPower * clampUnit(load.cpu) + node.gpuPower * clampUnit(load.gpu));
        const double toRoom =
            (node.ambientConductance + node.airflowConductance * air) * (temperatures_[i] - design_.ambient);
        heat[i] += powers_[i] - toRoom;
    }
    for (const auto& coupling : design_.couplings) {
        const double flow =
            coupling.conductance * (temperatures_[coupling.first] - temperatures_[coupling.second]);
        heat[coupling.first] -= flow;
        heat[coupling.second] += flow;
    }
    for (std::size_t i = 0; i < n; ++i) {
        temperatures_[i] += dt * heat[i] / design_.nodes[i].heatCapacity;
    }

    updateFirmwareState();
    for (std::size_t i = 0; i < fans_.size(); ++i) {
        if (!fans_[i].forced) {
            fans_[i].target = firmwareTarget(i);
        }
        moveFan(i);
    }
}

void ThermalModel::updateFirmwareState() {
    const auto& curve = design_.firmware;
    if (!curve.stopsWhenCool) {
        firmwareRunning_ = true;
        return;
    }
    const double hot = hottest();
    if (!firmwareRunning_ && hot >= curve.start) {
        firmwareRunning_ = true;
    } else if (firmwareRunning_ && hot < curve.start - curve.hysteresis) {
        firmwareRunning_ = false;
    }
}

double ThermalModel::firmwareTarget(std::size_t fan) const {
    if (!firmwareRunning_) {
        return 0.0;
    }
    const auto& curve = design_.firmware;
    const auto& range = design_.fans[fan];
    const double share = clampUnit((hottest() - curve.start) / (curve.full - curve.start));
    return range.minimum + share * (range.maximum - range.minimum);
}

void ThermalModel::moveFan(std::size_t i) {
    FanState& fan = fans_[i];
    const FanSpec& range = design_.fans[i];
    if (faults_[i].stalled) {
        fan.actual = 0.0;
        return;
    }
    // A forced fan holds its range; the firmware may also stop it (a target of 0).
    double desired = fan.forced ? clampTo(fan.target, range.minimum, range.maximum) : fan.target;
    desired = std::min(desired, faults_[i].ceiling * range.maximum);
    const double reach = range.spinRate * stepSeconds;
    const double change = desired - fan.actual;
    fan.actual = std::abs(change) <= reach ? desired : fan.actual + (change > 0.0 ? reach : -reach);
}

} // namespace halvoren
