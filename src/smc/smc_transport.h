#pragma once

#include "smc/smc_param_struct.h"

namespace halvoren {

// The one seam of hardware access: 80 bytes in, 80 bytes out, or an SMCError
// (callFailed with a code). A non-zero `result` inside the output is no failure here.
// Implementations need not be thread-safe: the bridge serialises every call.
class SMCTransport {
public:
    virtual ~SMCTransport() = default;
    virtual SMCParamStruct call(const SMCParamStruct& input) = 0;

protected:
    SMCTransport() = default;
    SMCTransport(const SMCTransport&) = default;
    SMCTransport& operator=(const SMCTransport&) = default;
};

} // namespace halvoren
