#include "app/simulated_system.h"

#include "engine/simulated_helper_service_manager.h"
#include "engine/smc_driver_actor.h"
#include "sim/load_scenario.h"
#include "sim/simulated_machine_host.h"

#include <QDir>
#include <stdexcept>

namespace halvoren {

SimulatedSystem::SimulatedSystem(const std::string& profile, const std::string& load, TimerSource& timers,
                                 const QString& helperPath)
    : runtime_(QDir::tempPath() + QStringLiteral("/halvoren-XXXXXX")) {
    if (!runtime_.isValid()) {
        throw std::runtime_error("cannot make a runtime directory: " + runtime_.errorString().toStdString());
    }
    auto scenario = loadScenarioNamed(load);
    if (!scenario) {
        throw std::runtime_error("unknown load \"" + load + "\" (idle, burst, sustained or host)");
    }
    const QString smcSocket = runtime_.filePath(QStringLiteral("smc.sock"));
    const QString helperSocket = runtime_.filePath(QStringLiteral("helper.sock"));
    host_ = std::make_unique<SimulatedMachineHost>(profile, timers.clock(), 1, std::move(scenario),
                                                   smcSocket.toStdString());
    services_ = std::make_unique<SimulatedHelperServiceManager>(
        timers, SimulatedHelperServiceManager::Options{
                    .helperSocketPath = helperSocket, .smcSocketPath = smcSocket, .helperPath = helperPath});
    SimulatedMachineHost* host = host_.get();
    driver_ = std::make_unique<SMCDriverActor>(timers, helperSocket, *services_,
                                               [host]() -> std::shared_ptr<SMCKernelBridge> {
                                                   try {
                                                       return host->openBridge();
                                                   } catch (const std::exception&) {
                                                       // A machine whose controller won't open: the
                                                       // engine retries every few seconds.
                                                       return nullptr;
                                                   }
                                               });
}

SimulatedSystem::~SimulatedSystem() {
    // The driver uses the services, and the helper child drives the host's machine.
    driver_.reset();
    services_.reset();
    host_.reset();
}

HalvorenEngine::CoreCounts SimulatedSystem::coreCounts() const {
    return host_->profile().coreCounts;
}

} // namespace halvoren
