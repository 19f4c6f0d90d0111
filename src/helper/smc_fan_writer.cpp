#include "helper/smc_fan_writer.h"

#include "core/fan_key.h"
#include "core/smc_codec_error.h"
#include "core/smc_data_codec.h"
#include "smc/smc_error.h"
#include "smc/smc_fan_reader.h"

namespace halvoren {
namespace {

[[noreturn]] void rethrow(const std::string& what, const std::exception& error) {
    throw FanWriteError(what + ": " + error.what());
}

} // namespace

SMCFanWriter::SMCFanWriter(std::shared_ptr<SMCKernelBridge> bridge, std::string description)
    : bridge_(std::move(bridge))
    , description_(std::move(description))
    , fanCount_(SMCFanReader(bridge_).fanCount()) {}

FanLimits SMCFanWriter::limits(int fan) {
    try {
        return FanLimits{bridge_->read(FanKey::minimum(fan)), bridge_->read(FanKey::maximum(fan))};
    } catch (const SMCError& error) {
        rethrow("cannot read the limits of fan " + std::to_string(fan), error);
    }
}

double SMCFanWriter::setTarget(int fan, double rpm) {
    const std::string target = FanKey::target(fan);
    try {
        bridge_->write(FanKey::mode(fan), 1.0);
        bridge_->write(target, rpm);
        // What the key's type holds of the value is what the controller now has.
        const auto type = SMCDataType::fromRawType(bridge_->keyInfo(target).dataType);
        return SMCDataCodec::decode(SMCDataCodec::encode(rpm, type), type);
    } catch (const SMCError& error) {
        rethrow("cannot set the target of fan " + std::to_string(fan), error);
    } catch (const SMCCodecError& error) {
        rethrow("cannot set the target of fan " + std::to_string(fan), error);
    }
}

void SMCFanWriter::setAutomatic(int fan) {
    try {
        bridge_->write(FanKey::mode(fan), 0.0);
    } catch (const SMCError& error) {
        rethrow("cannot hand fan " + std::to_string(fan) + " back to the firmware", error);
    }
}

} // namespace halvoren
