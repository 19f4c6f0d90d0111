#include "helper/helper_log.h"

namespace halvoren {

Q_LOGGING_CATEGORY(logHelper, "helper", QtInfoMsg)

} // namespace halvoren
