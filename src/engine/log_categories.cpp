#include "engine/log_categories.h"

namespace halvoren {

Q_LOGGING_CATEGORY(logDriver, "driver", QtInfoMsg)
Q_LOGGING_CATEGORY(logSMC, "smc", QtInfoMsg)

} // namespace halvoren
