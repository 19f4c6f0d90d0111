#pragma once

#include "platform/log_levels.h"

#include <QLoggingCategory>

// The application's log categories. Lines go out through HALVOREN_LOG_DEFAULT and
// HALVOREN_LOG_ERROR, which keep them in the platform log at its default settings.
namespace halvoren {

Q_DECLARE_LOGGING_CATEGORY(logDriver) // "driver": the link to the fan-control helper
Q_DECLARE_LOGGING_CATEGORY(logSMC)    // "smc": the SMC read connection

} // namespace halvoren
