#pragma once

#include "engine/halvoren_engine.h"

#include <QString>
#include <QTemporaryDir>
#include <memory>
#include <string>

namespace halvoren {

class SimulatedMachineHost;
class SimulatedHelperServiceManager;
class SMCDriverActor;
class TimerSource;

// A simulated Mac with everything the engine needs to drive it: the machine, served to the
// helper on a socket in a private runtime directory; the helper as an unprivileged child
// process; and a driver that reads the machine in-process and writes through the helper.
class SimulatedSystem {
public:
    // `profile` is a built-in machine or a profile file, `load` a load scenario's name. An
    // empty `helperPath` means halvoren-helper beside the running program. Throws
    // std::runtime_error with a message fit for the user. The machine runs on `timers`' clock.
    SimulatedSystem(const std::string& profile, const std::string& load, TimerSource& timers,
                    const QString& helperPath = {});
    ~SimulatedSystem();
    SimulatedSystem(const SimulatedSystem&) = delete;
    SimulatedSystem& operator=(const SimulatedSystem&) = delete;

    SimulatedMachineHost& host() { return *host_; }
    SimulatedHelperServiceManager& services() { return *services_; }
    SMCDriverActor& driver() { return *driver_; }
    HalvorenEngine::CoreCounts coreCounts() const;

private:
    QTemporaryDir runtime_;
    std::unique_ptr<SimulatedMachineHost> host_;
    std::unique_ptr<SimulatedHelperServiceManager> services_;
    std::unique_ptr<SMCDriverActor> driver_;
};

} // namespace halvoren
