#pragma once

#include "sim/load_scenario.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halvoren {

// One lump of the machine that holds heat: a CPU cluster, the GPU, the heat sink, the battery.
struct ThermalNodeSpec {
    std::string id;
    double heatCapacity = 1.0;       // J/K
    double initialTemperature = 0.0; // degrees Celsius
    double idlePower = 0.0;          // W, always
    double cpuPower = 0.0;           // W more at full processor load
    double gpuPower = 0.0;           // W more at full graphics load
    double ambientConductance = 0.0; // W/K to the room, fans or not
    double airflowConductance = 0.0; // W/K more to the room with every fan at its maximum
};

// Heat flowing between two nodes, by index into the node list.
struct ThermalCoupling {
    std::size_t first = 0;
    std::size_t second = 0;
    double conductance = 0.0; // W/K
};

struct FanSpec {
    double minimum = 0.0;  // RPM
    double maximum = 0.0;  // RPM
    double spinRate = 0.0; // RPM per second, up and down
};

// What the firmware does with fans it drives: speed rises linearly from the minimum at `start`
// to the maximum at `full`, judged by the hottest node. Fans that stop when cool stay off
// below `start` and, once running, until the hottest node falls `hysteresis` below it.
struct FirmwareCurve {
    double start = 50.0;
    double full = 90.0;
    double hysteresis = 0.0;
    bool stopsWhenCool = false;
    // On machines whose system thermal control holds the fans (Ftst beside F<n>Md): seconds
    // from Ftst = 1 until it lets go of them. The model itself does not use it.
    double releaseDelay = 4.0;
};

// Processors slow down when too hot: above `start` the load's power falls linearly, reaching
// the fraction `floor` of itself `span` degrees higher.
struct ThrottleSpec {
    double start = 100.0;
    double span = 10.0;
    double floor = 0.5;
};

struct ThermalSpec {
    double ambient = 24.0;
    std::vector<ThermalNodeSpec> nodes;
    std::vector<ThermalCoupling> couplings;
    std::vector<FanSpec> fans;
    FirmwareCurve firmware;
    std::optional<ThrottleSpec> throttle;
};

struct FanState {
    double actual = 0.0; // RPM
    double target = 0.0; // RPM: the commanded speed when forced, else the firmware's choice
    bool forced = false;
};

// A broken fan: a stalled one does not turn at all, an obstructed one reaches at most the
// fraction `ceiling` of its maximum.
struct FanFault {
    bool stalled = false;
    double ceiling = 1.0;

    friend bool operator==(const FanFault&, const FanFault&) = default;
};

// Lumped heat flow between nodes and the room, integrated with a fixed step so that equal
// inputs always give equal results. Knows nothing of clocks: the owner calls `step`.
class ThermalModel {
public:
    static constexpr double stepSeconds = 0.05;

    explicit ThermalModel(ThermalSpec design);

    // Advances one step under `load`.
    void step(Load load);

    const ThermalSpec& design() const { return design_; }
    double temperature(std::size_t node) const { return temperatures_[node]; }
    std::optional<std::size_t> nodeIndex(std::string_view id) const;
    double hottest() const;
    // Mean share of the fans' maximum speed they turn at now, 0 without fans.
    double airflow() const;
    // The power of each node in the last step, after throttling.
    double power(std::size_t node) const { return powers_[node]; }

    std::size_t fanCount() const { return fans_.size(); }
    const FanState& fan(std::size_t i) const { return fans_[i]; }
    void setForced(std::size_t fan, bool forced);
    void setTarget(std::size_t fan, double rpm);
    void setFault(std::size_t fan, FanFault fault);

private:
    double firmwareTarget(std::size_t fan) const;
    void updateFirmwareState();
    void moveFan(std::size_t fan);

    ThermalSpec design_;
    std::vector<double> temperatures_;
    std::vector<double> powers_;
    std::vector<double> heat_; // scratch of `step`, kept to spare an allocation per step
    std::vector<FanState> fans_;
    std::vector<FanFault> faults_;
    bool firmwareRunning_ = false;
};

} // namespace halvoren
