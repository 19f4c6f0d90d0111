#include "core/alert_rules.h"

namespace halvoren {

const AlertRules& defaultAlertRules() {
    static const AlertRules rules{
        {SensorCategory::cpu, {false, 95.0, false}},
        {SensorCategory::gpu, {false, 95.0, false}},
        {SensorCategory::neuralEngine, {false, 95.0, false}},
        {SensorCategory::memory, {false, 85.0, false}},
        {SensorCategory::battery, {false, 45.0, false}},
        {SensorCategory::enclosure, {false, 50.0, false}},
    };
    return rules;
}

} // namespace halvoren
