#include "smc/smc_error.h"

#include "smc/smc_param_struct.h"

namespace halvoren {

SMCError::SMCError(Kind kind, std::int32_t code, std::string text)
    : kind_(kind)
    , code_(code)
    , text_(std::move(text))
    , description_(description()) {}

std::string SMCError::description() const {
    const auto quoted = [this] { return "(\"" + text_ + "\")"; };
    switch (kind_) {
    case Kind::openFailed:
        return "openFailed(" + std::to_string(code_) + ")";
    case Kind::callFailed:
        return "callFailed(" + std::to_string(code_) + ")";
    case Kind::keyNotFound:
        return "keyNotFound" + quoted();
    case Kind::notReadable:
        return "notReadable" + quoted();
    case Kind::notWritable:
        return "notWritable" + quoted();
    case Kind::smcResult:
        return "smcResult(" + std::to_string(code_) + ")";
    case Kind::codec:
        return "codec" + quoted();
    case Kind::serviceNotFound:
        return "serviceNotFound";
    }
    return {};
}

std::optional<SMCError> mapResult(std::uint8_t result, const std::string& key) {
    switch (result) {
    case SMCResult::success:
        return std::nullopt;
    case SMCResult::keyNotFound:
        return SMCError::keyNotFound(key);
    case SMCResult::notReadable:
        return SMCError::notReadable(key);
    case SMCResult::notWritable:
        return SMCError::notWritable(key);
    default:
        return SMCError::smcResult(result);
    }
}

} // namespace halvoren
