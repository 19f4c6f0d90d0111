#pragma once

#include "smc/smc_error.h"

#include <optional>
#include <string>

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

// The message of the `E` a call throws, or "none" when it returns.
template <class E, class F>
std::string thrownMessage(F&& call) {
    try {
        call();
    } catch (const E& error) {
        return error.what();
    }
    return "none";
}

} // namespace halvoren
