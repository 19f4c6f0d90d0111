#pragma once

#include "platform/log_levels.h"

#include <QLoggingCategory>

namespace halvoren {

Q_DECLARE_LOGGING_CATEGORY(logApp) // "app": launch, termination and the run marker

} // namespace halvoren
