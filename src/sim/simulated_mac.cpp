#include "sim/simulated_mac.h"

#include "core/clamp.h"
#include "core/fan_key.h"
#include "core/smc_codec_error.h"
#include "core/smc_data_codec.h"
#include "smc/smc_error.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <thread>
#include <type_traits>

namespace halvoren {
namespace {

// Result codes the controller gives besides the three with a meaning of their own.
namespace Result {
constexpr std::uint8_t badCommand = 0x82;
constexpr std::uint8_t keySizeMismatch = 0x87;
constexpr std::uint8_t badArgument = 0x89;
constexpr std::uint8_t keyIndexRange = 0xB8;
} // namespace Result

// Attribute bits of the key information; the reader stores them without looking.
constexpr std::uint8_t readableAttribute = 0x80;
constexpr std::uint8_t writableAttribute = 0x40;

std::uint64_t mixed(std::uint64_t x) {
    // The finaliser of splitmix64: every input bit reaches every output bit.
    x += 0x9E3779B97F4A7C15ULL;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ULL;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBULL;
    return x ^ (x >> 31);
}

// The model's value in the key's type, held inside what the type can carry.
std::vector<std::uint8_t> encoded(double value, SMCDataType type) {
    using Kind = SMCDataType::Kind;
    if (std::isnan(value)) {
        value = 0.0;
    }
    switch (type.kind()) {
    case Kind::fpe2:
        value = clampTo(value, 0.0, 16383.75);
        break;
    case Kind::sp78:
        value = clampTo(value, -128.0, 127.99609375);
        break;
    case Kind::ui8:
        value = clampTo(value, 0.0, 255.0);
        break;
    case Kind::ui16:
        value = clampTo(value, 0.0, 65535.0);
        break;
    case Kind::ui32:
        value = clampTo(value, 0.0, 4294967295.0);
        break;
    case Kind::flt:
        value = clampTo(value, -std::numeric_limits<float>::max(), std::numeric_limits<float>::max());
        break;
    case Kind::flag:
    case Kind::other:
        break;
    }
    return SMCDataCodec::encode(value, type);
}

} // namespace

SimulatedMac::SimulatedMac(MachineProfile profile, const Clock& clock, std::uint64_t seed,
                           std::unique_ptr<LoadScenario> load)
    : profile_(std::move(profile))
    , clock_(clock)
    , seed_(seed)
    , origin_(clock.monotonicNow())
    , model_(profile_.thermal)
    , load_(std::move(load)) {
    if (!load_) {
        std::fprintf(stderr, "fatal: a simulated Mac needs a load scenario\n");
        std::abort();
    }
    for (std::size_t i = 0; i < profile_.keys.size(); ++i) {
        indexOfCode_.emplace(profile_.keys[i].code, i);
        stored_.push_back(profile_.keys[i].initialBytes);
    }
    const auto indexOf = [this](std::string_view name) -> std::optional<std::size_t> {
        const ProfileKey* key = profile_.key(name);
        return key ? std::optional(static_cast<std::size_t>(key - profile_.keys.data())) : std::nullopt;
    };
    // Only keys that take part count: a mode key that follows a fan, switches that hold writes.
    fanControl_ = fanControlProtocol([this](std::string_view name) {
        const ProfileKey* key = profile_.key(name);
        if (!key) {
            return false;
        }
        const auto* fan = std::get_if<KeySource::Fan>(&key->source);
        return std::holds_alternative<KeySource::FanTest>(key->source) ||
               (fan && fan->field == KeySource::FanField::mode);
    });
    if (fanControl_.kind == FanControl::forceBits) {
        forceBitsIndex_ = indexOf(FanControlKeys::forceBits);
    } else if (fanControl_.kind == FanControl::unlockModeKey) {
        unlockIndex_ = indexOf(FanKey::forceTest);
        systemHolds_ = true;
    }
    lastLoad_ = load_->at(0.0);
    setFaults({});
    for (const auto index : {forceBitsIndex_, unlockIndex_}) {
        if (index) {
            switched(*index); // the switch's initial bytes count as written at the start
        }
    }
}

void SimulatedMac::advance() {
    constexpr double dt = ThermalModel::stepSeconds;
    const double elapsed = clock_.monotonicNow() - origin_;
    if (!(elapsed > 0.0)) {
        return;
    }
    // The small allowance keeps a clock advanced in steps of exactly dt from landing a hair short.
    const auto due = static_cast<std::uint64_t>(std::floor(elapsed / dt + 1e-6));
    constexpr auto catchUp = static_cast<std::uint64_t>(maximumCatchUpSeconds / dt);
    if (due > step_ + catchUp) {
        step_ = due - catchUp;
    }
    while (step_ < due) {
        lastLoad_ = load_->at(static_cast<double>(step_ - loadOrigin_) * dt);
        model_.step(lastLoad_);
        ++step_;
    }
    releaseIfDue();
}

void SimulatedMac::releaseIfDue() {
    if (releaseStep_ && step_ >= *releaseStep_) {
        systemHolds_ = false;
        releaseStep_.reset();
    }
}

std::optional<double> SimulatedMac::storedNumber(std::size_t keyIndex) const {
    try {
        return SMCDataCodec::decode(stored_[keyIndex], profile_.keys[keyIndex].type());
    } catch (const SMCCodecError&) {
        return std::nullopt;
    }
}

void SimulatedMac::switched(std::size_t keyIndex) {
    const double value = storedNumber(keyIndex).value_or(0.0);
    if (keyIndex == forceBitsIndex_) {
        const auto bits = value > 0.0 ? static_cast<std::uint32_t>(value) : 0U;
        for (std::size_t fan = 0; fan < model_.fanCount(); ++fan) {
            model_.setForced(fan, (bits >> fan & 1U) != 0);
        }
    } else if (keyIndex == unlockIndex_) {
        if (value == 0.0) {
            // The system's thermal control takes every fan back at once.
            systemHolds_ = true;
            releaseStep_.reset();
            for (std::size_t fan = 0; fan < model_.fanCount(); ++fan) {
                model_.setForced(fan, false);
            }
        } else if (systemHolds_ && !releaseStep_) {
            releaseStep_ =
                step_ + static_cast<std::uint64_t>(std::ceil(
                            profile_.thermal.firmware.releaseDelay / ThermalModel::stepSeconds - 1e-6));
            releaseIfDue();
        }
    }
}

const ProfileKey* SimulatedMac::visibleKey(std::uint32_t code) const {
    const auto found = indexOfCode_.find(code);
    if (found == indexOfCode_.end() || vanished_[found->second]) {
        return nullptr;
    }
    return &profile_.keys[found->second];
}

std::optional<std::uint8_t> SimulatedMac::overridden(const ProfileKey& key, SMCCommand command) const {
    const auto found = faults_.resultOverrides.find({key.name, command});
    if (found == faults_.resultOverrides.end()) {
        return std::nullopt;
    }
    return found->second;
}

double SimulatedMac::noise(const ProfileKey& key, double amplitude) const {
    if (amplitude == 0.0) {
        return 0.0;
    }
    const std::uint64_t h = mixed(seed_ ^ mixed(key.code ^ mixed(step_)));
    const double unit = static_cast<double>(h >> 11) * 0x1.0p-53; // 0...1
    return amplitude * (2.0 * unit - 1.0);
}

std::vector<std::uint8_t> SimulatedMac::valueBytes(std::size_t keyIndex) const {
    const ProfileKey& key = profile_.keys[keyIndex];
    const double ambient = profile_.thermal.ambient;
    return std::visit(
        [&](const auto& source) -> std::vector<std::uint8_t> {
            using S = std::decay_t<decltype(source)>;
            if constexpr (std::is_same_v<S, KeySource::Constant> || std::is_same_v<S, KeySource::FanTest>) {
                return stored_[keyIndex];
            } else if constexpr (std::is_same_v<S, KeySource::Sensor>) {
                const double node = model_.temperature(source.node);
                return encoded(ambient + source.gain * (node - ambient) + source.offset +
                                   noise(key, source.noise),
                               key.type());
            } else if constexpr (std::is_same_v<S, KeySource::LoadLinear>) {
                return encoded(source.base + source.cpu * lastLoad_.cpu + source.gpu * lastLoad_.gpu +
                                   noise(key, source.noise),
                               key.type());
            } else if constexpr (std::is_same_v<S, KeySource::Fan>) {
                const FanState& fan = model_.fan(source.fan);
                const FanSpec& range = profile_.thermal.fans[source.fan];
                switch (source.field) {
                case KeySource::FanField::actual:
                    return encoded(fan.actual, key.type());
                case KeySource::FanField::minimum:
                    return encoded(range.minimum, key.type());
                case KeySource::FanField::maximum:
                    return encoded(range.maximum, key.type());
                case KeySource::FanField::target:
                    return encoded(fan.target, key.type());
                case KeySource::FanField::mode:
                    return encoded(systemHolds_ ? FanControlKeys::systemMode
                                   : fan.forced ? FanControlKeys::forcedMode
                                                : FanControlKeys::automaticMode,
                                   key.type());
                }
                return {};
            } else if constexpr (std::is_same_v<S, KeySource::KeyCount>) {
                return encoded(static_cast<double>(visible_.size()), key.type());
            } else {
                static_assert(std::is_same_v<S, KeySource::FanCount>);
                return encoded(static_cast<double>(profile_.thermal.fans.size()), key.type());
            }
        },
        key.source);
}

std::uint8_t SimulatedMac::write(std::size_t keyIndex, const SMCParamStruct& input) {
    const ProfileKey& key = profile_.keys[keyIndex];
    if (!key.writable()) {
        return SMCResult::notWritable;
    }
    if (input.keyInfo.dataSize != key.size) {
        return Result::keySizeMismatch;
    }
    const auto bytes = input.valueBytes(key.size);
    if (std::holds_alternative<KeySource::FanTest>(key.source)) {
        stored_[keyIndex] = bytes;
        switched(keyIndex);
        return SMCResult::success;
    }
    double value = 0.0;
    try {
        value = SMCDataCodec::decode(bytes, key.type());
    } catch (const SMCCodecError&) {
        return Result::badArgument;
    }
    const auto& fan = std::get<KeySource::Fan>(key.source);
    if (fan.field == KeySource::FanField::target) {
        if (!(value >= 0.0)) {
            return Result::badArgument;
        }
        model_.setTarget(fan.fan, value);
        return SMCResult::success;
    }
    if (value != 0.0 && value != 1.0) {
        return Result::badArgument;
    }
    if (systemHolds_) {
        // Taking a fan from the system's thermal control is refused; leaving it there is a no-op.
        return value == 1.0 ? Result::badCommand : SMCResult::success;
    }
    model_.setForced(fan.fan, value == 1.0);
    return SMCResult::success;
}

SMCParamStruct SimulatedMac::exchange(const SMCParamStruct& input) {
    double delay = 0.0;
    {
        std::lock_guard lock(mutex_);
        delay = faults_.callDelay;
    }
    // Waited without the lock, like a slow bus: other callers queue on the controller, not on this wait.
    if (delay > 0.0) {
        std::this_thread::sleep_for(std::chrono::duration<double>(delay));
    }

    std::lock_guard lock(mutex_);
    if (auto& failing = faults_.failingCalls) {
        if (failing->count && *failing->count <= 0) {
            failing.reset();
        } else {
            const std::int32_t code = failing->code;
            if (failing->count && --*failing->count == 0) {
                failing.reset();
            }
            throw SMCError::callFailed(code);
        }
    }
    advance();

    SMCParamStruct output = input;
    output.result = SMCResult::success;
    const auto command = static_cast<SMCCommand>(input.data8);
    switch (command) {
    case SMCCommand::keyByIndex: {
        output.key = 0;
        if (input.data32 >= visible_.size()) {
            output.result = Result::keyIndexRange;
            break;
        }
        const ProfileKey& key = profile_.keys[visible_[input.data32]];
        if (const auto code = overridden(key, command)) {
            output.result = *code;
            break;
        }
        output.key = key.code;
        break;
    }
    case SMCCommand::readValue:
    case SMCCommand::writeValue:
    case SMCCommand::keyInformation: {
        const ProfileKey* key = visibleKey(input.key);
        if (!key) {
            output.result = SMCResult::keyNotFound;
            break;
        }
        if (const auto code = overridden(*key, command)) {
            output.result = *code;
            break;
        }
        const auto index = static_cast<std::size_t>(key - profile_.keys.data());
        if (command == SMCCommand::readValue) {
            output.setValueBytes(valueBytes(index));
        } else if (command == SMCCommand::writeValue) {
            output.result = write(index, input);
        } else {
            output.keyInfo = {
                key->size, key->typeCode,
                static_cast<std::uint8_t>(readableAttribute | (key->writable() ? writableAttribute : 0))};
        }
        break;
    }
    default:
        output.result = Result::badCommand;
        break;
    }
    return output;
}

std::vector<SimulatedFan> SimulatedMac::fans() {
    std::lock_guard lock(mutex_);
    advance();
    std::vector<SimulatedFan> result;
    for (std::size_t i = 0; i < model_.fanCount(); ++i) {
        const FanState& fan = model_.fan(i);
        const FanSpec& range = profile_.thermal.fans[i];
        result.push_back({fan.actual, fan.target, range.minimum, range.maximum, fan.forced});
    }
    return result;
}

std::vector<NodeTemperature> SimulatedMac::nodes() {
    std::lock_guard lock(mutex_);
    advance();
    std::vector<NodeTemperature> result;
    for (std::size_t i = 0; i < profile_.thermal.nodes.size(); ++i) {
        result.push_back({profile_.thermal.nodes[i].id, model_.temperature(i)});
    }
    return result;
}

std::optional<double> SimulatedMac::nodeTemperature(std::string_view id) {
    std::lock_guard lock(mutex_);
    advance();
    const auto index = model_.nodeIndex(id);
    return index ? std::optional(model_.temperature(*index)) : std::nullopt;
}

Load SimulatedMac::load() {
    std::lock_guard lock(mutex_);
    advance();
    return lastLoad_;
}

double SimulatedMac::simulatedSeconds() {
    std::lock_guard lock(mutex_);
    advance();
    return static_cast<double>(step_) * ThermalModel::stepSeconds;
}

void SimulatedMac::setLoad(std::unique_ptr<LoadScenario> scenario) {
    if (!scenario) {
        std::fprintf(stderr, "fatal: a simulated Mac needs a load scenario\n");
        std::abort();
    }
    std::lock_guard lock(mutex_);
    advance();
    load_ = std::move(scenario);
    loadOrigin_ = step_;
    lastLoad_ = load_->at(0.0);
}

void SimulatedMac::setLoad(Load constant) {
    setLoad(constantLoad(constant));
}

FaultPlan SimulatedMac::faults() const {
    std::lock_guard lock(mutex_);
    return faults_;
}

void SimulatedMac::setFaults(FaultPlan plan) {
    std::lock_guard lock(mutex_);
    // Faults of the fans change the model from now on, not in hindsight.
    advance();
    faults_ = std::move(plan);
    for (std::size_t i = 0; i < model_.fanCount(); ++i) {
        const int fan = static_cast<int>(i);
        FanFault fault;
        fault.stalled = faults_.stalledFans.contains(fan);
        if (const auto found = faults_.obstructedFans.find(fan); found != faults_.obstructedFans.end()) {
            fault.ceiling = clampUnit(found->second);
        }
        model_.setFault(i, fault);
    }
    visible_.clear();
    vanished_.assign(profile_.keys.size(), false);
    for (std::size_t i = 0; i < profile_.keys.size(); ++i) {
        vanished_[i] = faults_.vanishedKeys.contains(profile_.keys[i].name);
        if (!vanished_[i]) {
            visible_.push_back(i);
        }
    }
}

} // namespace halvoren
