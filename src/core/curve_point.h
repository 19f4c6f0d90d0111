#pragma once

#include "core/json_value.h"
#include "core/uuid.h"

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

void to_json(Json& j, const CurvePoint& point);
void from_json(const Json& j, CurvePoint& point);

} // namespace halvoren
