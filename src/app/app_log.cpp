#include "app/app_log.h"

namespace halvoren {

Q_LOGGING_CATEGORY(logApp, "app")

} // namespace halvoren
