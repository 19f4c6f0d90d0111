#include "helper/smc_fan_writer.h"

#include "core/double_text.h"
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

std::string fanText(int fan) {
    return "fan " + std::to_string(fan);
}

} // namespace

SMCFanWriter::SMCFanWriter(std::shared_ptr<SMCKernelBridge> bridge, std::string description,
                           const Clock& clock)
    : bridge_(std::move(bridge))
    , description_(std::move(description))
    , clock_(clock)
    , fanCount_(SMCFanReader(bridge_).fanCount())
    , protocol_(fanControlProtocol(*bridge_)) {}

FanLimits SMCFanWriter::limits(int fan) {
    try {
        return FanLimits{bridge_->read(FanKey::minimum(fan)), bridge_->read(FanKey::maximum(fan))};
    } catch (const SMCError& error) {
        rethrow("cannot read the limits of " + fanText(fan), error);
    }
}

std::optional<std::string> SMCFanWriter::refusal(int fan) const {
    const auto found = refused_.find(fan);
    if (found == refused_.end() || clock_.monotonicNow() >= found->second.until) {
        return std::nullopt;
    }
    return found->second.text;
}

double SMCFanWriter::setTarget(int fan, double rpm) {
    if (const auto refusal = refused_.find(fan); refusal != refused_.end()) {
        if (clock_.monotonicNow() < refusal->second.until) {
            throw FanWriteError(refusal->second.text);
        }
        refused_.erase(refusal);
    }
    const std::string target = FanKey::target(fan);
    try {
        // Forced already is the common case: one read, then the target.
        if (const double mode = readFanMode(*bridge_, protocol_, fan); mode != FanControlKeys::forcedMode) {
            held_.erase(fan); // whatever this writer did before, the fan is not forced now
            force(fan, mode);
        }
        bridge_->write(target, rpm);
        // What the key's type holds of the value is what the controller now has.
        const auto type = SMCDataType::fromRawType(bridge_->keyInfo(target).dataType);
        return SMCDataCodec::decode(SMCDataCodec::encode(rpm, type), type);
    } catch (const SMCError& error) {
        rethrow("cannot set the target of " + fanText(fan), error);
    } catch (const SMCCodecError& error) {
        rethrow("cannot set the target of " + fanText(fan), error);
    }
}

void SMCFanWriter::force(int fan, double mode) {
    switch (protocol_.kind) {
    case FanControl::none:
        throw FanWriteError(fanText(fan) + " cannot be forced: the controller has no " +
                            protocol_.modeKey(fan) + ", " +
                            FanControlProtocol{FanControl::modeKey, true}.modeKey(fan) + " or \"" +
                            std::string(FanControlKeys::forceBits) + "\" key");
    case FanControl::forceBits:
        writeFanForced(*bridge_, protocol_, fan, true);
        if (readFanMode(*bridge_, protocol_, fan) != FanControlKeys::forcedMode) {
            refuse(fan, "\"" + std::string(FanControlKeys::forceBits) + "\" does not keep its bit " +
                            std::to_string(fan));
        }
        held_.insert(fan);
        return;
    case FanControl::modeKey:
        if (!holdMode(fan)) {
            refuse(fan, protocol_.modeKey(fan) + " does not keep 1");
        }
        held_.insert(fan);
        return;
    case FanControl::unlockModeKey:
        forceAfterUnlock(fan, mode);
        return;
    }
}

void SMCFanWriter::forceAfterUnlock(int fan, double mode) {
    const double now = clock_.monotonicNow();
    const auto releasing = releasing_.find(fan);
    // A fan the system does not hold may take the mode at once, with no unlock at all.
    if (mode != FanControlKeys::systemMode && holdMode(fan)) {
        held_.insert(fan);
        releasing_.erase(fan);
        return;
    }
    if (releasing == releasing_.end()) {
        bridge_->write(FanKey::forceTest, 1.0);
        unlocked_ = true;
        releasing_[fan] = now;
    } else if (now - releasing->second >= releaseDeadline) {
        releasing_.erase(releasing);
        try {
            relockIfUnused();
        } catch (const SMCError&) {
            // Still set: the hand-back that follows the refusal tries again.
        }
        refuse(fan, "the system's thermal control did not let go of it within " +
                        doubleText(releaseDeadline) + " s of Ftst = 1");
    }
    throw FanWritePending(fanText(fan) + " is being released by the system's thermal control");
}

bool SMCFanWriter::holdMode(int fan) {
    const std::string key = protocol_.modeKey(fan);
    for (int attempt = 0; attempt < holdAttempts; ++attempt) {
        try {
            bridge_->write(key, FanControlKeys::forcedMode);
        } catch (const SMCError&) {
            // Refused (result 0x82 while the system holds the fan): the read-back decides.
        }
        if (bridge_->read(key) == FanControlKeys::forcedMode) {
            return true;
        }
    }
    return false;
}

void SMCFanWriter::refuse(int fan, const std::string& why) {
    std::string text = fanText(fan) + " cannot be forced: " + why;
    refused_[fan] = Refusal{clock_.monotonicNow() + coolOff, text};
    throw FanWriteError(text);
}

void SMCFanWriter::relockIfUnused() {
    if (!unlocked_ || !held_.empty() || !releasing_.empty()) {
        return;
    }
    bridge_->write(FanKey::forceTest, 0.0);
    unlocked_ = false;
}

void SMCFanWriter::setAutomatic(int fan) {
    try {
        if (!handBackFan(*bridge_, protocol_, fan)) {
            throw FanWriteError("cannot hand " + fanText(fan) +
                                " back to the firmware: it still reads as forced");
        }
        held_.erase(fan);
        releasing_.erase(fan);
        relockIfUnused();
    } catch (const SMCError& error) {
        rethrow("cannot hand " + fanText(fan) + " back to the firmware", error);
    }
}

void SMCFanWriter::restoreAutomatic() {
    const auto failures = handBackEveryFan(*bridge_, protocol_, fanCount_);
    held_.clear();
    releasing_.clear();
    if (failures.empty()) {
        unlocked_ = false;
        return;
    }
    std::string text;
    for (const auto& failure : failures) {
        text += (text.empty() ? "" : "; ") + failure;
    }
    throw FanWriteError(text);
}

} // namespace halvoren
