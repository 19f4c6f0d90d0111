#pragma once

#include "smc/smc_error.h"

#include <optional>

namespace halvoren {

// The SMCError a call throws, or nothing when it returns.
template <class F>
std::optional<SMCError> thrownError(F&& call) {
    try {
        call();
    } catch (const SMCError& error) {
        return error;
    }
    return std::nullopt;
}

} // namespace halvoren
