#pragma once

#include "core/power_telemetry.h"
#include "platform/clock.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// The Linux sources of the power reading: the kernel's power-supply class for the source and the
// battery, logind or the ACPI button for the lid.
namespace halvoren::LinuxPower {

// A supply that feeds the machine itself: an input (mains or USB) or a battery.
struct Supply {
    enum class Kind { external, battery };
    Kind kind = Kind::external;
    std::string directory; // its folder under the class, as listed
};

// The supplies under `<sysfsRoot>/class/power_supply`: mains and USB inputs, and the system's
// batteries. A supply whose scope is "Device" (a mouse, a keyboard, a headset) is not the
// machine's own and is left out.
std::vector<Supply> systemSupplies(const std::filesystem::path& sysfsRoot);

// The telemetry that the listed supplies give now (`isClamshell` false), or none when one of them
// has gone, so that the list must be made again.
std::optional<PowerTelemetry> readSupplies(const std::vector<Supply>& supplies);

// Both steps at once.
PowerTelemetry readPowerSupplies(const std::filesystem::path& sysfsRoot);

// The supplies listed once and listed again when one of them vanishes or when `rescanSeconds`
// have passed since the last listing, so that a reading opens only the files it needs and a new
// supply (an adapter that registers on plugging in) is still seen.
class SupplyMonitor {
public:
    SupplyMonitor(std::filesystem::path sysfsRoot, const Clock& clock, double rescanSeconds = 10.0);

    PowerTelemetry read();

private:
    std::filesystem::path root_;
    const Clock& clock_;
    double rescanSeconds_;
    std::vector<Supply> supplies_;
    std::optional<double> listedAt_;
};

// The lid as `<procRoot>/acpi/button/lid/*/state` says: closed when any lid says "closed", none
// when no lid can be read.
std::optional<bool> acpiLidClosed(const std::filesystem::path& procRoot);

// The lid from logind when it answers, else from the ACPI button, else open. After logind fails
// it is asked again only once `retrySeconds` have passed, as a missing bus or service is slow to
// find missing and rarely appears later; so is a machine without an ACPI lid looked at again.
class LidMonitor {
public:
    using Query = std::function<std::optional<bool>()>; // none: no answer

    LidMonitor(Query logind, std::filesystem::path procRoot, const Clock& clock, double retrySeconds = 60.0);

    bool closed();

private:
    Query logind_;
    std::filesystem::path procRoot_;
    const Clock& clock_;
    double retrySeconds_;
    std::optional<double> nextLogindAttempt_;
    std::optional<double> nextAcpiAttempt_;
};

} // namespace halvoren::LinuxPower
