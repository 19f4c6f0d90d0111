#pragma once

#include "smc/smc_transport.h"

#include <cstdint>

namespace halvoren {

// The controller's kernel driver, "AppleSMC", through a user-client connection that is
// open from construction to destruction. Not thread-safe on its own: the bridge
// serialises every call.
class IOKitSMCTransport final : public SMCTransport {
public:
    // Throws SMCError::serviceNotFound or openFailed(code).
    IOKitSMCTransport();
    ~IOKitSMCTransport() override;

    IOKitSMCTransport(const IOKitSMCTransport&) = delete;
    IOKitSMCTransport& operator=(const IOKitSMCTransport&) = delete;

    // Throws SMCError::callFailed(code) when the exchange itself fails.
    SMCParamStruct call(const SMCParamStruct& input) override;

private:
    std::uint32_t connection = 0; // io_connect_t
};

} // namespace halvoren
