#include "smc/macos/iokit_smc_transport.h"

#include "smc/smc_error.h"
#include "smc/system_transport.h"

#include <IOKit/IOKitLib.h>
#include <array>
#include <mach/mach.h>
#include <type_traits>

namespace halvoren {
namespace {

static_assert(std::is_same_v<io_connect_t, mach_port_t> && sizeof(io_connect_t) == sizeof(std::uint32_t));

// The driver's one struct method: an SMCParamStruct in, one out.
constexpr std::uint32_t structMethodSelector = 2;

} // namespace

IOKitSMCTransport::IOKitSMCTransport() {
    // IOServiceGetMatchingService consumes the matching dictionary.
    const io_service_t service =
        IOServiceGetMatchingService(kIOMainPortDefault, IOServiceMatching("AppleSMC"));
    if (service == IO_OBJECT_NULL) {
        throw SMCError::serviceNotFound();
    }
    io_connect_t opened = IO_OBJECT_NULL;
    const kern_return_t status = IOServiceOpen(service, mach_task_self(), 0, &opened);
    IOObjectRelease(service);
    if (status != KERN_SUCCESS) {
        throw SMCError::openFailed(status);
    }
    connection = opened;
}

IOKitSMCTransport::~IOKitSMCTransport() {
    IOServiceClose(connection);
}

SMCParamStruct IOKitSMCTransport::call(const SMCParamStruct& input) {
    // The wire images, so padding bytes go out as zero and the output starts zeroed.
    const std::array<std::uint8_t, 80> in = input.toWire();
    std::array<std::uint8_t, 80> out{};
    std::size_t outSize = out.size();
    const kern_return_t status = IOConnectCallStructMethod(connection, structMethodSelector, in.data(),
                                                           in.size(), out.data(), &outSize);
    if (status != KERN_SUCCESS) {
        throw SMCError::callFailed(status);
    }
    return SMCParamStruct::fromWire(out);
}

std::unique_ptr<SMCTransport> openSystemTransport(const std::filesystem::path& /*hwmonRoot*/) {
    return std::make_unique<IOKitSMCTransport>();
}

} // namespace halvoren
