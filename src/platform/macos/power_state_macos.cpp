#include "platform/power_state.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>
#include <IOKit/ps/IOPowerSources.h>
#include <cmath>
#include <optional>

namespace halvoren {
namespace {

// Owns one Core Foundation object from a Create or Copy call.
class CFObject {
public:
    explicit CFObject(CFTypeRef object)
        : object_(object) {}
    ~CFObject() {
        if (object_ != nullptr) {
            CFRelease(object_);
        }
    }
    CFObject(const CFObject&) = delete;
    CFObject& operator=(const CFObject&) = delete;

    CFTypeRef get() const { return object_; }

private:
    CFTypeRef object_;
};

// Owns one IOKit object; every service obtained is released.
class IOObject {
public:
    explicit IOObject(io_object_t object)
        : object_(object) {}
    ~IOObject() {
        if (object_ != IO_OBJECT_NULL) {
            IOObjectRelease(object_);
        }
    }
    IOObject(const IOObject&) = delete;
    IOObject& operator=(const IOObject&) = delete;

    io_object_t get() const { return object_; }
    explicit operator bool() const { return object_ != IO_OBJECT_NULL; }

private:
    io_object_t object_;
};

// The first service matching a class name, or none. The matching dictionary is consumed.
IOObject matchingService(const char* className) {
    return IOObject(IOServiceGetMatchingService(kIOMainPortDefault, IOServiceMatching(className)));
}

CFObject property(const IOObject& service, CFStringRef name) {
    return CFObject(IORegistryEntryCreateCFProperty(service.get(), name, kCFAllocatorDefault, 0));
}

// A property that is a number object, read as a double whatever its stored type.
std::optional<double> numberProperty(const IOObject& service, CFStringRef name) {
    const CFObject value = property(service, name);
    if (value.get() == nullptr || CFGetTypeID(value.get()) != CFNumberGetTypeID()) {
        return std::nullopt;
    }
    // False means only that the conversion was inexact; the value is still written.
    double number = 0.0;
    CFNumberGetValue(static_cast<CFNumberRef>(value.get()), kCFNumberDoubleType, &number);
    if (!std::isfinite(number)) {
        return std::nullopt;
    }
    return number;
}

// The first of two number properties that is present, else 0.
double numberProperty(const IOObject& service, CFStringRef name, CFStringRef fallback) {
    if (const std::optional<double> value = numberProperty(service, name)) {
        return *value;
    }
    return numberProperty(service, fallback).value_or(0.0);
}

// A property that is a Boolean or a number (non-zero is true); absent or anything else is false.
bool flagProperty(const IOObject& service, CFStringRef name) {
    const CFObject value = property(service, name);
    if (value.get() == nullptr) {
        return false;
    }
    if (CFGetTypeID(value.get()) == CFBooleanGetTypeID()) {
        return CFBooleanGetValue(static_cast<CFBooleanRef>(value.get()));
    }
    if (CFGetTypeID(value.get()) == CFNumberGetTypeID()) {
        double number = 0.0;
        CFNumberGetValue(static_cast<CFNumberRef>(value.get()), kCFNumberDoubleType, &number);
        return number != 0.0;
    }
    return false;
}

PowerSource providingSource() {
    const CFObject info(IOPSCopyPowerSourcesInfo());
    if (info.get() == nullptr) {
        return PowerSource::unknown;
    }
    // Follows the Get rule: owned by `info`, not released here.
    const CFStringRef type = IOPSGetProvidingPowerSourceType(info.get());
    if (type == nullptr) {
        return PowerSource::unknown;
    }
    if (CFEqual(type, CFSTR("AC Power"))) {
        return PowerSource::ac;
    }
    if (CFEqual(type, CFSTR("Battery Power"))) {
        return PowerSource::battery;
    }
    return PowerSource::unknown;
}

struct BatteryElectrical {
    double watts = 0.0;
    bool charging = false;
    double wattHours = 0.0;
};

// The battery's own flow and its full capacity at the present voltage; zeros on a desktop.
BatteryElectrical batteryElectrical() {
    const IOObject battery = matchingService("AppleSmartBattery");
    if (!battery) {
        return {};
    }
    const double milliamps = numberProperty(battery, CFSTR("Amperage"), CFSTR("InstantAmperage"));
    const double millivolts = numberProperty(battery, CFSTR("Voltage")).value_or(0.0);
    const double milliampHours = numberProperty(battery, CFSTR("AppleRawMaxCapacity"), CFSTR("MaxCapacity"));
    // Finite factors can still overflow together.
    const auto finiteOrZero = [](double value) { return std::isfinite(value) ? value : 0.0; };
    BatteryElectrical result;
    result.watts = finiteOrZero(std::fabs(milliamps * millivolts) / 1e6);
    result.charging = flagProperty(battery, CFSTR("IsCharging"));
    result.wattHours = finiteOrZero(milliampHours * millivolts / 1e6);
    return result;
}

// The power manager's root, by its registry path or else by its class.
IOObject rootDomain() {
    const io_registry_entry_t byPath =
        IORegistryEntryFromPath(kIOMainPortDefault, "IOPower:/IOPowerConnection/IOPMrootDomain");
    if (byPath != IO_OBJECT_NULL) {
        return IOObject(byPath);
    }
    return matchingService("IOPMrootDomain");
}

bool clamshellClosed() {
    const IOObject root = rootDomain();
    return root && flagProperty(root, CFSTR("AppleClamshellState"));
}

class MacPowerStateObserver final : public PowerStateObserver {
public:
    PowerReading reading() override {
        const BatteryElectrical battery = batteryElectrical();
        PowerReading result;
        result.telemetry.source = providingSource();
        result.telemetry.systemWatts = battery.watts;
        result.telemetry.isCharging = battery.charging;
        result.telemetry.batteryWattHours = battery.wattHours;
        result.clamshell = clamshellClosed();
        return result;
    }
};

} // namespace

std::shared_ptr<PowerStateObserver> systemPowerStateObserver() {
    return std::make_shared<MacPowerStateObserver>();
}

} // namespace halvoren
