#pragma once

#include "platform/log_levels.h"

#include <QLoggingCategory>

namespace halvoren {

// The daemon's log, category "helper": every restore with its reason, refused and dropped
// clients, start and stop. Lines at the log's default level go out through
// HALVOREN_LOG_DEFAULT, which the platform log keeps.
Q_DECLARE_LOGGING_CATEGORY(logHelper)

} // namespace halvoren
