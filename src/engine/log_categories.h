#pragma once

#include <QLoggingCategory>

// The application's log categories. Messages at the log's default level go out as info, those at
// its error level as critical; both are on unless logging rules turn them off.
namespace halvoren {

Q_DECLARE_LOGGING_CATEGORY(logDriver) // "driver": the link to the fan-control helper
Q_DECLARE_LOGGING_CATEGORY(logSMC)    // "smc": the SMC read connection

} // namespace halvoren
