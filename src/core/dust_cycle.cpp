#include "core/dust_cycle.h"

namespace halvoren::DustCycle {

Verdict verdict(double elapsed, double controlTemp, bool helperConnected) {
    if (!helperConnected) {
        return {.kind = Verdict::Kind::abortHelperLost};
    }
    if (!(controlTemp < abortTemperature)) {
        return {.kind = Verdict::Kind::abortOverTemp};
    }
    if (!(elapsed < totalDuration)) {
        return {.kind = Verdict::Kind::finished};
    }
    double end = 0.0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        end += pattern[i].duration;
        if (elapsed < end) {
            return {.kind = Verdict::Kind::run,
                    .dutyFraction = pattern[i].dutyFraction,
                    .stepIndex = static_cast<int>(i),
                    .remaining = totalDuration - elapsed};
        }
    }
    return {.kind = Verdict::Kind::finished};
}

double targetRPM(double dutyFraction, double minRPM, double maxRPM) {
    return minRPM + (maxRPM - minRPM) * dutyFraction;
}

} // namespace halvoren::DustCycle
