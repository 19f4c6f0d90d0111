#pragma once

#include <QLoggingCategory>

namespace halvoren {

// The daemon's log, category "helper": every restore with its reason, refused and dropped
// clients, start and stop.
Q_DECLARE_LOGGING_CATEGORY(logHelper)

} // namespace halvoren
