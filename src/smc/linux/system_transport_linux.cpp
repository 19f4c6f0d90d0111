#include "smc/linux/applesmc_transport.h"
#include "smc/system_transport.h"

namespace halvoren {

std::unique_ptr<SMCTransport> openSystemTransport(const std::filesystem::path& hwmonRoot) {
    return std::make_unique<AppleSMCTransport>(hwmonRoot.empty() ? AppleSMCTransport::defaultRoot
                                                                 : hwmonRoot);
}

} // namespace halvoren
