#include "helper/helper_service.h"

#include "core/double_text.h"
#include "core/write_policy.h"

#include <cmath>

namespace halvoren {

HelperService::HelperService(FanWriter& writer, FanSafety& safety, const Clock& clock)
    : writer_(writer)
    , safety_(safety)
    , clock_(clock)
    , startedAt_(clock.monotonicNow()) {}

std::optional<std::string> HelperService::handleFrame(ClientId client, std::string_view payload) {
    const auto decoded = decodeRequest(payload);
    HelperReply reply;
    if (const auto* error = std::get_if<HelperMessageError>(&decoded)) {
        if (!error->id) {
            return std::nullopt;
        }
        safety_.noteActivity(client);
        reply = HelperReply{*error->id, HelperReply::Failure{error->message}};
    } else {
        safety_.noteActivity(client);
        reply = handle(client, std::get<HelperRequest>(decoded));
    }
    try {
        return encodeReply(reply);
    } catch (const EncodeError& error) {
        // Only a number JSON cannot carry gets here; the client still learns its call failed.
        return encodeReply(HelperReply{reply.id, HelperReply::Failure{error.what()}});
    }
}

HelperReply HelperService::handle(ClientId client, const HelperRequest& request) {
    HelperReply reply{request.id, {}};
    switch (request.method) {
    case HelperMethod::setTargetRPM:
        reply.outcome = setTarget(client, request.fan, request.rpm);
        break;
    case HelperMethod::setManualControl:
        reply.outcome = setManualControl(client, request.fan, request.enabled);
        break;
    case HelperMethod::restoreAutomaticControl:
        reply.outcome = restoreAutomaticControl(client);
        break;
    case HelperMethod::heartbeat:
        reply.outcome = HelperReply::Uptime{clock_.monotonicNow() - startedAt_};
        break;
    case HelperMethod::helperVersion:
        reply.outcome = HelperReply::Version{std::string(helperBuildVersion)};
        break;
    }
    return reply;
}

std::optional<HelperReply::Failure> HelperService::checkFan(int fan) const {
    const int count = writer_.fanCount();
    if (fan < 0 || fan >= count) {
        return HelperReply::Failure{"no fan " + std::to_string(fan) + ": this machine has " +
                                    std::to_string(count) + (count == 1 ? " fan" : " fans")};
    }
    return std::nullopt;
}

HelperReply::Outcome HelperService::setTarget(ClientId client, int fan, double rpm) {
    if (auto failure = checkFan(fan)) {
        return *failure;
    }
    if (!std::isfinite(rpm)) {
        return HelperReply::Failure{"the target of fan " + std::to_string(fan) + " must be finite, not " +
                                    doubleText(rpm)};
    }
    FanLimits limits;
    try {
        limits = writer_.limits(fan);
    } catch (const FanWriteError& error) {
        return HelperReply::Failure{error.what()};
    }
    const auto verdict = WritePolicy::vet(rpm, limits.minimum, limits.maximum);
    if (verdict.isReject()) {
        return HelperReply::Failure{"fan " + std::to_string(fan) + ": " + verdict.reason()};
    }
    if (auto refusal = writer_.refusal(fan)) {
        return HelperReply::Failure{std::move(*refusal)};
    }
    safety_.noteForcing(client, fan);
    try {
        const double applied = writer_.setTarget(fan, *verdict.rpm());
        targets_[fan] = applied;
        return HelperReply::Applied{applied};
    } catch (const FanWritePending& pending) {
        // Handing the fan back now would undo what has begun; it stays counted as forced.
        return HelperReply::Failure{pending.what()};
    } catch (const FanWriteError& error) {
        // Half a write may have left the fan forced at an old target; the firmware is safer.
        try {
            writer_.setAutomatic(fan);
            safety_.noteHandedBack(fan, "its target could not be set");
        } catch (const FanWriteError&) {
            // Still counted as forced, and the client's: its disconnect or silence tries again.
        }
        return HelperReply::Failure{error.what()};
    }
}

HelperReply::Outcome HelperService::setManualControl(ClientId client, int fan, bool enabled) {
    if (auto failure = checkFan(fan)) {
        return *failure;
    }
    if (!enabled) {
        try {
            writer_.setAutomatic(fan);
        } catch (const FanWriteError& error) {
            return HelperReply::Failure{error.what()};
        }
        safety_.noteHandedBack(fan, "client " + std::to_string(client) + " asked for it");
        return std::monostate{};
    }
    double target = 0.0;
    if (const auto found = targets_.find(fan); found != targets_.end()) {
        target = found->second;
    } else {
        try {
            target = writer_.limits(fan).minimum;
        } catch (const FanWriteError& error) {
            return HelperReply::Failure{error.what()};
        }
    }
    const auto outcome = setTarget(client, fan, target);
    if (const auto* failure = std::get_if<HelperReply::Failure>(&outcome)) {
        return *failure;
    }
    return std::monostate{};
}

HelperReply::Outcome HelperService::restoreAutomaticControl(ClientId client) {
    if (auto error = safety_.restoreAll("client " + std::to_string(client) + " asked for it")) {
        return HelperReply::Failure{std::move(*error)};
    }
    return std::monostate{};
}

} // namespace halvoren
