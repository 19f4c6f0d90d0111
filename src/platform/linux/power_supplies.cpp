#include "platform/linux/power_supplies.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <fcntl.h>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace halvoren::LinuxPower {
namespace {

namespace fs = std::filesystem;

// The files read here hold one short value; anything that fills the buffer is not one.
constexpr std::size_t maxFileSize = 64;

enum class FileError { none, missing, unreadable };

// A small sysfs or procfs file's text without surrounding white space. Plain system calls, as
// this runs every second and a stream costs more than the read.
std::optional<std::string> readSmallFile(const std::string& path, FileError* error = nullptr) {
    const auto fail = [error](FileError why) {
        if (error != nullptr) {
            *error = why;
        }
        return std::optional<std::string>{};
    };
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return fail(errno == ENOENT || errno == ENOTDIR ? FileError::missing : FileError::unreadable);
    }
    char buffer[maxFileSize];
    ssize_t count = 0;
    do {
        count = ::read(fd, buffer, sizeof buffer);
    } while (count < 0 && errno == EINTR);
    ::close(fd);
    if (count < 0 || static_cast<std::size_t>(count) == sizeof buffer) {
        return fail(FileError::unreadable);
    }
    std::string_view text(buffer, static_cast<std::size_t>(count));
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\0'; };
    while (!text.empty() && blank(text.back())) {
        text.remove_suffix(1);
    }
    while (!text.empty() && blank(text.front())) {
        text.remove_prefix(1);
    }
    if (error != nullptr) {
        *error = FileError::none;
    }
    return std::string(text);
}

// A whole decimal integer, as sysfs writes them; none for anything else.
std::optional<std::int64_t> parseInteger(const std::optional<std::string>& text) {
    if (!text || text->empty()) {
        return std::nullopt;
    }
    std::int64_t value = 0;
    const char* end = text->data() + text->size();
    const auto [stop, error] = std::from_chars(text->data(), end, value);
    if (error != std::errc{} || stop != end) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::int64_t> readInteger(const std::string& path) {
    return parseInteger(readSmallFile(path));
}

// The kernel's USB input types: "USB", and on older kernels "USB_C", "USB_PD" and the like.
bool isExternalType(std::string_view type) {
    return type == "Mains" || type == "USB" || type.starts_with("USB_");
}

// One battery's flow in watts: `power_now` (µW), else current (µA) times voltage (µV). Some
// drivers sign the flow by direction; only its size counts.
double batteryWatts(const std::string& directory, std::optional<std::int64_t> voltage) {
    if (const auto power = readInteger(directory + "/power_now")) {
        return std::fabs(static_cast<double>(*power)) / 1e6;
    }
    const auto current = readInteger(directory + "/current_now");
    if (!current || !voltage) {
        return 0.0;
    }
    return std::fabs(static_cast<double>(*current) * static_cast<double>(*voltage)) / 1e12;
}

// One battery's full capacity in watt-hours: `energy_full` (µWh), else charge (µAh) at the
// present voltage (µV).
double batteryWattHours(const std::string& directory, std::optional<std::int64_t> voltage) {
    if (const auto energy = readInteger(directory + "/energy_full"); energy && *energy > 0) {
        return static_cast<double>(*energy) / 1e6;
    }
    const auto charge = readInteger(directory + "/charge_full");
    if (!charge || *charge <= 0 || !voltage || *voltage <= 0) {
        return 0.0;
    }
    return static_cast<double>(*charge) * static_cast<double>(*voltage) / 1e12;
}

} // namespace

std::vector<Supply> systemSupplies(const fs::path& sysfsRoot) {
    std::vector<Supply> supplies;
    std::error_code ec;
    for (fs::directory_iterator it(sysfsRoot / "class/power_supply", ec), end; !ec && it != end;
         it.increment(ec)) {
        const std::string directory = it->path().string();
        const std::optional<std::string> type = readSmallFile(directory + "/type");
        if (!type || readSmallFile(directory + "/scope") == "Device") {
            continue;
        }
        // Each kind is listed only with the file that tells whether it is still there.
        std::error_code missing;
        if (isExternalType(*type) && fs::exists(directory + "/online", missing)) {
            supplies.push_back({Supply::Kind::external, directory});
        } else if (*type == "Battery" && fs::exists(directory + "/status", missing)) {
            supplies.push_back({Supply::Kind::battery, directory});
        }
    }
    std::sort(supplies.begin(), supplies.end(),
              [](const Supply& a, const Supply& b) { return a.directory < b.directory; });
    return supplies;
}

std::optional<PowerTelemetry> readSupplies(const std::vector<Supply>& supplies) {
    bool externalKnown = false;
    bool externalOnline = false;
    bool batteryPresent = false;
    bool discharging = false;
    bool fedFromOutside = false; // a battery that is not discharging: something else powers the machine
    PowerTelemetry telemetry;
    for (const Supply& supply : supplies) {
        FileError error = FileError::none;
        if (supply.kind == Supply::Kind::external) {
            const auto online = parseInteger(readSmallFile(supply.directory + "/online", &error));
            if (error == FileError::missing) {
                return std::nullopt;
            }
            externalKnown = true;
            // 1 is online, 2 online with a programmable output.
            externalOnline = externalOnline || (online && *online > 0);
            continue;
        }
        const std::optional<std::string> status = readSmallFile(supply.directory + "/status", &error);
        if (error == FileError::missing) {
            return std::nullopt;
        }
        if (readInteger(supply.directory + "/present") == 0) {
            continue; // an empty bay
        }
        batteryPresent = true;
        discharging = discharging || status == "Discharging";
        telemetry.isCharging = telemetry.isCharging || status == "Charging";
        fedFromOutside =
            fedFromOutside || status == "Charging" || status == "Full" || status == "Not charging";
        const auto voltage = readInteger(supply.directory + "/voltage_now");
        telemetry.systemWatts += batteryWatts(supply.directory, voltage);
        telemetry.batteryWattHours += batteryWattHours(supply.directory, voltage);
    }
    // An input that is online wins; then a battery that discharges. A battery that is charging,
    // full or held ("Not charging") is fed from outside even where the adapter is not listed. A
    // battery with no such word while every listed input is offline is what runs the machine.
    if (externalOnline || (fedFromOutside && !discharging)) {
        telemetry.source = PowerSource::ac;
    } else if (discharging || (batteryPresent && externalKnown)) {
        telemetry.source = PowerSource::battery;
    }
    return telemetry;
}

PowerTelemetry readPowerSupplies(const fs::path& sysfsRoot) {
    return readSupplies(systemSupplies(sysfsRoot)).value_or(PowerTelemetry{});
}

SupplyMonitor::SupplyMonitor(fs::path sysfsRoot, const Clock& clock, double rescanSeconds)
    : root_(std::move(sysfsRoot))
    , clock_(clock)
    , rescanSeconds_(rescanSeconds) {}

PowerTelemetry SupplyMonitor::read() {
    const double now = clock_.monotonicNow();
    const auto rescan = [&] {
        supplies_ = systemSupplies(root_);
        listedAt_ = now;
    };
    if (!listedAt_ || now - *listedAt_ >= rescanSeconds_) {
        rescan();
    }
    std::optional<PowerTelemetry> telemetry = readSupplies(supplies_);
    if (!telemetry) {
        rescan();
        telemetry = readSupplies(supplies_);
    }
    return telemetry.value_or(PowerTelemetry{});
}

std::optional<bool> acpiLidClosed(const fs::path& procRoot) {
    std::optional<bool> closed;
    std::error_code ec;
    for (fs::directory_iterator it(procRoot / "acpi/button/lid", ec), end; !ec && it != end;
         it.increment(ec)) {
        const std::optional<std::string> text = readSmallFile((it->path() / "state").string());
        constexpr std::string_view label = "state:";
        if (!text || !text->starts_with(label)) {
            continue;
        }
        std::string_view state = std::string_view(*text).substr(label.size());
        state.remove_prefix(std::min(state.find_first_not_of(" \t"), state.size()));
        if (state == "closed") {
            return true;
        }
        if (state == "open") {
            closed = false;
        }
    }
    return closed;
}

LidMonitor::LidMonitor(Query logind, fs::path procRoot, const Clock& clock, double retrySeconds)
    : logind_(std::move(logind))
    , procRoot_(std::move(procRoot))
    , clock_(clock)
    , retrySeconds_(retrySeconds) {}

bool LidMonitor::closed() {
    const double now = clock_.monotonicNow();
    if (logind_ && (!nextLogindAttempt_ || now >= *nextLogindAttempt_)) {
        if (const std::optional<bool> answer = logind_()) {
            nextLogindAttempt_.reset();
            return *answer;
        }
        nextLogindAttempt_ = now + retrySeconds_;
    }
    if (nextAcpiAttempt_ && now < *nextAcpiAttempt_) {
        return false;
    }
    const std::optional<bool> acpi = acpiLidClosed(procRoot_);
    nextAcpiAttempt_ = acpi ? std::nullopt : std::optional<double>(now + retrySeconds_);
    return acpi.value_or(false);
}

} // namespace halvoren::LinuxPower
