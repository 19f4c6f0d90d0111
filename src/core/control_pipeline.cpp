#include "core/control_pipeline.h"

#include "core/clamp.h"

#include <cstdio>
#include <cstdlib>

namespace halvoren {

double ControlPipeline::targetPercentage(double temp) {
    const double base = fixedOverride ? clampUnit(*fixedOverride) : curve.rpmPercentage(temp);
    const double floor = clampUnit(proactiveFloor);
    // The floor goes in before the filter so that a rising floor also rises smoothly.
    // Written so that a NaN base survives to be rejected at the write, while a NaN
    // floor simply does not raise anything.
    const double floored = floor > base ? floor : base;
    return clampUnit(ema.update(floored));
}

double ControlPipeline::percentageToRPM(double percentage, double fanMin, double fanMax) {
    if (fanMin > fanMax) {
        std::fprintf(stderr, "fatal: fan minimum %g above maximum %g\n", fanMin, fanMax);
        std::abort();
    }
    const double p = clampUnit(percentage);
    return clampTo(fanMin + p * (fanMax - fanMin), fanMin, fanMax);
}

} // namespace halvoren
