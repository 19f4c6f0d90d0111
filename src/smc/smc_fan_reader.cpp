#include "smc/smc_fan_reader.h"

#include "core/clamp.h"
#include "core/fan_key.h"
#include "smc/smc_error.h"

#include <optional>
#include <string_view>

namespace halvoren {
namespace {

std::optional<double> tryRead(SMCKernelBridge& bridge, std::string_view key) {
    try {
        return bridge.read(key);
    } catch (const SMCError&) {
        return std::nullopt;
    }
}

constexpr int maxFans = 10;

} // namespace

SMCFanReader::SMCFanReader(std::shared_ptr<SMCKernelBridge> bridge)
    : bridge(std::move(bridge)) {}

int SMCFanReader::fanCount() const {
    if (const auto count = tryRead(*bridge, FanKey::fanCount)) {
        // Decoded values are finite, so the clamped value converts safely.
        return static_cast<int>(clampTo(*count, 0.0, maxFans));
    }
    // Without "FNum", probe every index: fans need not be numbered without gaps.
    int count = 0;
    for (int i = 0; i < maxFans; ++i) {
        if (bridge->hasKey(FanKey::current(i))) {
            count = i + 1;
        }
    }
    return count;
}

FanStatus SMCFanReader::status(int fan) const {
    FanStatus status;
    status.id = fan;
    const auto current = tryRead(*bridge, FanKey::current(fan));
    status.currentRPM = current.value_or(0.0);
    status.currentRPMValid = current.has_value();
    status.minRPM = tryRead(*bridge, FanKey::minimum(fan)).value_or(0.0);
    status.maxRPM = tryRead(*bridge, FanKey::maximum(fan)).value_or(0.0);
    status.targetRPM = tryRead(*bridge, FanKey::target(fan)).value_or(status.currentRPM);
    try {
        if (!protocol) {
            protocol = fanControlProtocol(*bridge);
        }
        status.isManaged = FanControlKeys::isForcedMode(readFanMode(*bridge, *protocol, fan));
    } catch (const SMCError&) {
        status.isManaged = false; // a failed lookup is asked again next time
    }
    return status;
}

std::vector<FanStatus> SMCFanReader::allFans() const {
    const int count = fanCount();
    std::vector<FanStatus> fans;
    fans.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        fans.push_back(status(i));
    }
    return fans;
}

} // namespace halvoren
