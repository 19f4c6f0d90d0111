#include "core/write_policy.h"

#include "core/clamp.h"
#include "core/double_text.h"

#include <cmath>

namespace halvoren::WritePolicy {

Verdict vet(double requestedRPM, double hardwareMin, double hardwareMax) {
    // Written so that NaN fails each test; -0.0 < 0 is false, so negative zero passes.
    if (!std::isfinite(requestedRPM) || requestedRPM < 0.0) {
        return Verdict::reject("non-finite or negative RPM " + doubleText(requestedRPM));
    }
    // A negative minimum is tolerated; a maximum of zero would mean a fan that cannot turn.
    if (!std::isfinite(hardwareMin) || !std::isfinite(hardwareMax) || !(hardwareMax > 0.0) ||
        !(hardwareMin <= hardwareMax)) {
        return Verdict::reject("invalid hardware bounds [" + doubleText(hardwareMin) + ", " +
                               doubleText(hardwareMax) + "]");
    }
    return Verdict::apply(clampTo(requestedRPM, hardwareMin, hardwareMax));
}

} // namespace halvoren::WritePolicy
