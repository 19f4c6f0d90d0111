#pragma once

#include "core/alert_rule.h"
#include "core/enum_keyed_map.h"
#include "core/sensor.h"

namespace halvoren {

using AlertRules = EnumKeyedMap<SensorCategory, AlertRule>;

// One disabled rule per category, in allCases order: cpu, gpu and neuralEngine at
// 95 °C, memory 85 °C, battery 45 °C, enclosure 50 °C; none boosts the fans.
const AlertRules& defaultAlertRules();

} // namespace halvoren
