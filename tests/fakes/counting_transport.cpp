#include "fakes/counting_transport.h"

#include "smc/smc_error.h"

#include <stdexcept>
#include <string>

namespace halvoren {

void CountingTransport::setRaw(std::uint32_t code, std::uint32_t dataType, std::uint32_t dataSize,
                               std::vector<std::uint8_t> bytes) {
    locked([&] {
        if (!keys.contains(code)) {
            table.push_back(code);
        }
        keys[code] = Entry{SMCKeyInfoData{dataSize, dataType, 0}, std::move(bytes)};
    });
}

std::optional<CountingTransport::Entry> CountingTransport::entry(std::uint32_t code) const {
    if (const auto it = keys.find(code); it != keys.end()) {
        return it->second;
    }
    if (code == FourCC::code("#KEY")) {
        const auto count = keyCount.value_or(static_cast<std::uint32_t>(table.size()));
        return Entry{SMCKeyInfoData{4, SMCDataType::ui32Code, 0},
                     SMCDataCodec::encode(count, SMCDataType::Kind::ui32)};
    }
    return std::nullopt;
}

SMCParamStruct CountingTransport::call(const SMCParamStruct& input) {
    const std::lock_guard guard(lock);
    lastCaller = std::this_thread::get_id();
    if (delay.count() > 0) {
        std::this_thread::sleep_for(delay);
    }
    ++counts[input.data8];
    lastInputs[input.data8] = input;
    if (everyCallFailure) {
        throw SMCError::callFailed(*everyCallFailure);
    }
    const bool byIndex = input.data8 == byte(SMCCommand::keyByIndex);
    SMCParamStruct output;
    if (const auto outcome = overrides.find({input.data8, byIndex ? input.data32 : input.key});
        outcome != overrides.end()) {
        if (outcome->second.thrown) {
            throw SMCError::callFailed(*outcome->second.thrown);
        }
        output.result = outcome->second.result; // a refused command has no effect
        return output;
    }
    const auto command = static_cast<SMCCommand>(input.data8);
    if (command != SMCCommand::readValue && command != SMCCommand::writeValue && !byIndex &&
        command != SMCCommand::keyInformation) {
        throw std::logic_error("CountingTransport: unknown command " + std::to_string(input.data8));
    }
    const auto found = entry(input.key);
    if (byIndex ? input.data32 >= table.size()
                : !found || (command == SMCCommand::writeValue && !keys.contains(input.key))) {
        output.result = SMCResult::keyNotFound;
    } else if (byIndex) {
        output.key = table[input.data32];
    } else if (command == SMCCommand::keyInformation) {
        output.keyInfo = found->info;
    } else if (command == SMCCommand::readValue) {
        output.setValueBytes(found->bytes);
    } else {
        keys[input.key].bytes = input.valueBytes(input.keyInfo.dataSize);
    }
    return output;
}

} // namespace halvoren
