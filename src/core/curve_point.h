#pragma once

#include "core/uuid.h"

#include <nlohmann/json_fwd.hpp>

namespace halvoren {

// One point of a temperature-to-speed curve: degrees Celsius to a fraction of the
// fan's range. Nothing is clamped here; a fraction is cut only where it is used.
struct CurvePoint {
    Uuid id;
    double temperature = 0.0;
    double rpmPercentage = 0.0;

    // A point with a fresh random identity.
    static CurvePoint make(double temperature, double rpmPercentage) {
        return CurvePoint{Uuid::random(), temperature, rpmPercentage};
    }

    friend bool operator==(const CurvePoint&, const CurvePoint&) = default;
};

void to_json(nlohmann::json& j, const CurvePoint& point);
void from_json(const nlohmann::json& j, CurvePoint& point);

} // namespace halvoren
