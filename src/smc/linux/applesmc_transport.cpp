#include "smc/linux/applesmc_transport.h"

#include "core/fan_key.h"
#include "core/four_cc.h"
#include "core/smc_codec_error.h"
#include "core/smc_data_codec.h"
#include "smc/linux/hwmon_directory.h"
#include "smc/smc_error.h"

#include <algorithm>

namespace halvoren {
namespace {

constexpr int maxFans = 10; // fan keys name indices 0...9

const Hwmon::Device* appleSMC(const std::vector<Hwmon::Device>& devices) {
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [](const Hwmon::Device& d) { return d.name == "applesmc"; });
    return found != devices.end() ? &*found : nullptr;
}

std::string numbered(std::string_view prefix, int n, std::string_view suffix) {
    return std::string(prefix) + std::to_string(n) + std::string(suffix);
}

} // namespace

AppleSMCTransport::AppleSMCTransport(const std::filesystem::path& root) {
    const auto devices = Hwmon::devices(root);
    const Hwmon::Device* device = appleSMC(devices);
    if (device == nullptr) {
        throw SMCError::serviceNotFound();
    }

    add("#KEY", SMCDataType::Kind::ui32, {});
    add(std::string(FanKey::fanCount), SMCDataType::Kind::ui8, {});
    int fans = 0;
    while (fans < maxFans && device->attributes.contains(numbered("fan", fans + 1, "_input"))) {
        const int n = fans + 1;
        add(FanKey::current(fans), SMCDataType::Kind::fpe2, device->attribute(numbered("fan", n, "_input")));
        add(FanKey::minimum(fans), SMCDataType::Kind::fpe2, device->attribute(numbered("fan", n, "_min")));
        add(FanKey::maximum(fans), SMCDataType::Kind::fpe2, device->attribute(numbered("fan", n, "_max")));
        add(FanKey::target(fans), SMCDataType::Kind::fpe2, device->attribute(numbered("fan", n, "_output")));
        add(FanKey::mode(fans), SMCDataType::Kind::ui8, device->attribute(numbered("fan", n, "_manual")));
        ++fans;
    }
    for (const int n : device->numbered("temp", "_label")) {
        const auto label = Hwmon::readText(device->attribute(numbered("temp", n, "_label")));
        // A label that is no key, or repeats one, cannot be addressed through the exchange.
        if (label && FourCC::isKey(*label) && !byCode_.contains(FourCC::code(*label))) {
            add(*label, SMCDataType::Kind::sp78, device->attribute(numbered("temp", n, "_input")), 1000.0);
        }
    }
    entries_[0].constant = static_cast<double>(entries_.size());
    entries_[1].constant = fans;
}

void AppleSMCTransport::add(const std::string& key, SMCDataType type, std::filesystem::path file,
                            double divisor) {
    byCode_.emplace(FourCC::code(key), entries_.size());
    entries_.push_back(Entry{FourCC::code(key), type, Hwmon::Attribute(std::move(file)), divisor});
}

std::vector<std::string> AppleSMCTransport::keys() const {
    std::vector<std::string> keys;
    for (const Entry& entry : entries_) {
        keys.push_back(FourCC::string(entry.code));
    }
    return keys;
}

SMCParamStruct AppleSMCTransport::call(const SMCParamStruct& input) {
    SMCParamStruct output;
    const auto command = static_cast<SMCCommand>(input.data8);
    if (command == SMCCommand::keyByIndex) {
        if (input.data32 < entries_.size()) {
            output.key = entries_[input.data32].code;
        } else {
            output.result = SMCResult::keyNotFound;
        }
        return output;
    }
    if (command != SMCCommand::readValue && command != SMCCommand::writeValue &&
        command != SMCCommand::keyInformation) {
        output.result = badCommand;
        return output;
    }
    if (command == SMCCommand::writeValue) {
        output.key = input.key;
        output.result = SMCResult::notWritable;
        return output;
    }
    const auto found = byCode_.find(input.key);
    if (found == byCode_.end()) {
        output.key = input.key;
        output.result = SMCResult::keyNotFound;
        return output;
    }
    Entry& entry = entries_[found->second];
    if (command == SMCCommand::keyInformation) {
        output.key = entry.code;
        output.keyInfo.dataSize = static_cast<std::uint32_t>(entry.type.byteCount().value_or(0));
        output.keyInfo.dataType = entry.type.code();
        return output;
    }
    return read(entry);
}

SMCParamStruct AppleSMCTransport::read(Entry& entry) {
    SMCParamStruct output;
    output.key = entry.code;
    output.keyInfo.dataSize = static_cast<std::uint32_t>(entry.type.byteCount().value_or(0));
    output.keyInfo.dataType = entry.type.code();
    double value = entry.constant;
    if (!entry.file.path().empty()) {
        const auto raw = entry.file.readInteger();
        if (!raw) {
            output.result = SMCResult::notReadable;
            return output;
        }
        value = static_cast<double>(*raw) / entry.divisor;
    }
    try {
        output.setValueBytes(SMCDataCodec::encode(value, entry.type));
    } catch (const SMCCodecError&) {
        // A reading the key's type cannot hold is as good as none.
        output.result = SMCResult::notReadable;
    }
    return output;
}

} // namespace halvoren
