#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace halvoren {

// A fan's speed range in RPM, as the hardware reports it.
struct FanLimits {
    double minimum = 0.0;
    double maximum = 0.0;
};

// A fan write or read that did not happen; the text is shown to the client as it is.
class FanWriteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A write that has begun to take the fan and needs more time: the same call, made again
// shortly, finishes it. The fan must stay counted as forced, and not be handed back, meanwhile.
class FanWritePending : public FanWriteError {
public:
    using FanWriteError::FanWriteError;
};

// Where the daemon's fan writes go: the seam between the request logic and one kind of
// hardware. Fans are numbered from 0. Every operation throws FanWriteError on failure and is
// called from the daemon's one thread only. Callers check the index against fanCount() and
// clamp the target to limits() first; backends do not clamp again.
class FanWriter {
public:
    virtual ~FanWriter() = default;

    // A short description for the log, e.g. "applesmc at /sys/class/hwmon/hwmon3".
    virtual std::string description() const = 0;
    virtual int fanCount() const = 0;
    virtual FanLimits limits(int fan) = 0;
    // Takes the fan away from the firmware and sets its target. Returns the RPM actually
    // written, which may differ from `rpm` by the rounding of the hardware's unit. Throws
    // FanWritePending when taking the fan needs more calls.
    virtual double setTarget(int fan, double rpm) = 0;
    // Why `fan` is not to be forced at all for now, when the hardware has refused it lately; a
    // write would only fail again, so nothing is written and nothing needs handing back.
    virtual std::optional<std::string> refusal(int /*fan*/) const { return std::nullopt; }
    // Hands one fan back to the firmware.
    virtual void setAutomatic(int fan) = 0;
    // Hands every fan back, trying each even when an earlier one failed; throws afterwards
    // when any did.
    virtual void restoreAutomatic();
    // The file writes that hand every fan back, for a crash handler that can do nothing
    // else; empty when handing back takes more than writing files.
    virtual std::vector<std::pair<std::filesystem::path, long long>> handBackFiles() const { return {}; }

protected:
    FanWriter() = default;
    FanWriter(const FanWriter&) = default;
    FanWriter& operator=(const FanWriter&) = default;
};

} // namespace halvoren
