#include "helper/fan_writer.h"

namespace halvoren {

void FanWriter::restoreAutomatic() {
    std::string failures;
    for (int fan = 0; fan < fanCount(); ++fan) {
        try {
            setAutomatic(fan);
        } catch (const FanWriteError& error) {
            failures += (failures.empty() ? "" : "; ") + std::string(error.what());
        }
    }
    if (!failures.empty()) {
        throw FanWriteError(failures);
    }
}

} // namespace halvoren
