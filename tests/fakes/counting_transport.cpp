#include "fakes/counting_transport.h"

#include "core/four_cc.h"
#include "core/smc_data_codec.h"
#include "smc/smc_error.h"

#include <numeric>
#include <stdexcept>
#include <string>

namespace halvoren {
namespace {

constexpr std::uint8_t byte(SMCCommand command) {
    return static_cast<std::uint8_t>(command);
}

const std::uint32_t keyCountCode = FourCC::code("#KEY");

} // namespace

void CountingTransport::setValue(std::string_view key, SMCDataType type, double value) {
    auto encoded = SMCDataCodec::encode(value, type);
    const auto size = static_cast<std::uint32_t>(encoded.size());
    setRaw(key, type.code(), size, std::move(encoded));
}

void CountingTransport::setRaw(std::uint32_t code, std::uint32_t dataType, std::uint32_t dataSize,
                               std::vector<std::uint8_t> bytes) {
    store(code, Entry{SMCKeyInfoData{dataSize, dataType, 0}, std::move(bytes)});
}

void CountingTransport::setRaw(std::string_view key, std::uint32_t dataType, std::uint32_t dataSize,
                               std::vector<std::uint8_t> bytes) {
    setRaw(FourCC::code(key), dataType, dataSize, std::move(bytes));
}

void CountingTransport::setKeyCount(std::uint32_t count) {
    const std::lock_guard guard(lock);
    keyCount = count;
}

void CountingTransport::setResult(std::string_view key, SMCCommand command, std::uint8_t result) {
    setOutcome({byte(command), FourCC::code(key)}, result);
}

void CountingTransport::setIndexResult(std::uint32_t index, std::uint8_t result) {
    setOutcome({byte(SMCCommand::keyByIndex), index}, result);
}

void CountingTransport::setOutcome(Subject subject, std::uint8_t result) {
    const std::lock_guard guard(lock);
    if (result == 0) {
        overrides.erase(subject);
    } else {
        overrides[subject] = Outcome{result, std::nullopt};
    }
}

void CountingTransport::failCall(std::string_view key, SMCCommand command, std::int32_t code) {
    const std::lock_guard guard(lock);
    overrides[{byte(command), FourCC::code(key)}] = Outcome{0, code};
}

void CountingTransport::failIndex(std::uint32_t index, std::int32_t code) {
    const std::lock_guard guard(lock);
    overrides[{byte(SMCCommand::keyByIndex), index}] = Outcome{0, code};
}

void CountingTransport::failEveryCall(std::int32_t code) {
    const std::lock_guard guard(lock);
    everyCallFailure = code;
}

void CountingTransport::clearFailures() {
    const std::lock_guard guard(lock);
    overrides.clear();
    everyCallFailure.reset();
}

int CountingTransport::calls(SMCCommand command) const {
    const std::lock_guard guard(lock);
    const auto it = counts.find(byte(command));
    return it == counts.end() ? 0 : it->second;
}

int CountingTransport::totalCalls() const {
    const std::lock_guard guard(lock);
    return std::accumulate(counts.begin(), counts.end(), 0,
                           [](int sum, const auto& entry) { return sum + entry.second; });
}

void CountingTransport::resetCounts() {
    const std::lock_guard guard(lock);
    counts.clear();
}

std::optional<SMCParamStruct> CountingTransport::lastInput(SMCCommand command) const {
    const std::lock_guard guard(lock);
    const auto it = lastInputs.find(byte(command));
    return it == lastInputs.end() ? std::nullopt : std::optional(it->second);
}

std::vector<std::uint8_t> CountingTransport::bytes(std::string_view key) const {
    const std::lock_guard guard(lock);
    const auto found = entry(FourCC::code(key));
    return found ? found->bytes : std::vector<std::uint8_t>{};
}

void CountingTransport::store(std::uint32_t code, Entry entry) {
    const std::lock_guard guard(lock);
    if (!keys.contains(code)) {
        table.push_back(code);
    }
    keys[code] = std::move(entry);
}

// Callers hold the lock.
std::optional<CountingTransport::Entry> CountingTransport::entry(std::uint32_t code) const {
    if (const auto it = keys.find(code); it != keys.end()) {
        return it->second;
    }
    if (code == keyCountCode) {
        const auto count = keyCount.value_or(static_cast<std::uint32_t>(table.size()));
        return Entry{SMCKeyInfoData{4, SMCDataType::ui32Code, 0},
                     SMCDataCodec::encode(count, SMCDataType::Kind::ui32)};
    }
    return std::nullopt;
}

SMCParamStruct CountingTransport::call(const SMCParamStruct& input) {
    const std::lock_guard guard(lock);
    ++counts[input.data8];
    lastInputs[input.data8] = input;
    if (everyCallFailure) {
        throw SMCError::callFailed(*everyCallFailure);
    }
    const bool byIndex = input.data8 == byte(SMCCommand::keyByIndex);
    const auto outcome = overrides.find({input.data8, byIndex ? input.data32 : input.key});
    SMCParamStruct output;
    if (outcome != overrides.end()) {
        if (outcome->second.thrown) {
            throw SMCError::callFailed(*outcome->second.thrown);
        }
        // A refused command has no effect.
        output.result = outcome->second.result;
        return output;
    }

    const auto found = entry(input.key);
    switch (input.data8) {
    case byte(SMCCommand::keyByIndex):
        if (input.data32 < table.size()) {
            output.key = table[input.data32];
        } else {
            output.result = SMCResult::keyNotFound;
        }
        break;
    case byte(SMCCommand::keyInformation):
        if (found) {
            output.keyInfo = found->info;
        } else {
            output.result = SMCResult::keyNotFound;
        }
        break;
    case byte(SMCCommand::readValue):
        if (found) {
            output.setValueBytes(found->bytes);
        } else {
            output.result = SMCResult::keyNotFound;
        }
        break;
    case byte(SMCCommand::writeValue):
        if (keys.contains(input.key)) {
            keys[input.key].bytes = input.valueBytes(input.keyInfo.dataSize);
        } else {
            output.result = SMCResult::keyNotFound;
        }
        break;
    default:
        throw std::logic_error("CountingTransport: unknown command " + std::to_string(input.data8));
    }
    return output;
}

FakeBridge makeFakeBridge() {
    auto transport = std::make_unique<CountingTransport>();
    CountingTransport* fake = transport.get();
    return {fake, std::make_shared<SMCKernelBridge>(std::move(transport))};
}

} // namespace halvoren
