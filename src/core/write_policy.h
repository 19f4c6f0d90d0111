#pragma once

#include <optional>
#include <string>
#include <utility>

namespace halvoren::WritePolicy {

// What may be written to a fan: an RPM, or the reason why nothing may be.
class Verdict {
public:
    enum class Kind { apply, reject };

    static Verdict apply(double rpm) { return Verdict{Kind::apply, rpm, {}}; }
    static Verdict reject(std::string reason) { return Verdict{Kind::reject, 0.0, std::move(reason)}; }

    Kind kind() const { return kind_; }
    bool isApply() const { return kind_ == Kind::apply; }
    bool isReject() const { return kind_ == Kind::reject; }
    // The RPM to write; absent for a rejection.
    std::optional<double> rpm() const { return isApply() ? std::optional<double>(rpm_) : std::nullopt; }
    // Why the write was refused; empty for an apply.
    const std::string& reason() const { return reason_; }

    friend bool operator==(const Verdict&, const Verdict&) = default;

private:
    Verdict(Kind kind, double rpm, std::string reason)
        : kind_(kind)
        , rpm_(rpm)
        , reason_(std::move(reason)) {}

    Kind kind_;
    double rpm_; // 0.0 unless apply, so equality compares only the payload in use
    std::string reason_;
};

// The last gate before any RPM reaches the hardware. Rejects a non-finite or negative
// request and unusable bounds; a request outside the bounds is clamped, not refused.
Verdict vet(double requestedRPM, double hardwareMin, double hardwareMax);

} // namespace halvoren::WritePolicy
