#include "smc/smc_kernel_bridge.h"

#include "core/clamp.h"
#include "core/four_cc.h"
#include "core/smc_codec_error.h"
#include "core/smc_data_codec.h"
#include "smc/smc_error.h"

#include <cstdio>
#include <cstdlib>
#include <limits>

namespace halvoren {
namespace {

void throwIfFailed(std::uint8_t result, std::string_view key) {
    if (auto error = mapResult(result, std::string(key))) {
        throw std::move(*error);
    }
}

SMCParamStruct command(SMCCommand cmd, std::uint32_t key) {
    SMCParamStruct input;
    input.key = key;
    input.data8 = static_cast<std::uint8_t>(cmd);
    return input;
}

} // namespace

SMCKernelBridge::SMCKernelBridge(std::unique_ptr<SMCTransport> transport)
    : transport(std::move(transport)) {
    if (!this->transport) {
        std::fprintf(stderr, "fatal: the controller bridge needs a transport\n");
        std::abort();
    }
}

SMCParamStruct SMCKernelBridge::call(const SMCParamStruct& input) {
    const std::lock_guard lock(callLock);
    return transport->call(input);
}

SMCKeyInfoData SMCKernelBridge::keyInfo(std::string_view key) {
    const std::uint32_t code = FourCC::code(key);
    {
        const std::lock_guard lock(cacheLock);
        if (const auto hit = keyInfoCache.find(code); hit != keyInfoCache.end()) {
            return hit->second;
        }
    }
    const SMCParamStruct output = call(command(SMCCommand::keyInformation, code));
    throwIfFailed(output.result, key);
    const std::lock_guard lock(cacheLock);
    keyInfoCache[code] = output.keyInfo;
    return output.keyInfo;
}

SMCRawValue SMCKernelBridge::readRaw(std::string_view key) {
    const SMCKeyInfoData info = keyInfo(key);
    SMCParamStruct input = command(SMCCommand::readValue, FourCC::code(key));
    input.keyInfo.dataSize = info.dataSize;
    const SMCParamStruct output = call(input);
    throwIfFailed(output.result, key);
    // The type is the key information's: the read's output does not carry it reliably.
    return {output.valueBytes(info.dataSize), SMCDataType::fromRawType(info.dataType)};
}

double SMCKernelBridge::read(std::string_view key) {
    const SMCRawValue raw = readRaw(key);
    try {
        return SMCDataCodec::decode(raw.bytes, raw.type);
    } catch (const SMCCodecError& error) {
        throw SMCError::codec("decode " + std::string(key) + ": " + error.description());
    }
}

void SMCKernelBridge::write(std::string_view key, double value) {
    const SMCKeyInfoData info = keyInfo(key);
    std::vector<std::uint8_t> bytes;
    try {
        bytes = SMCDataCodec::encode(value, SMCDataType::fromRawType(info.dataType));
    } catch (const SMCCodecError& error) {
        throw SMCError::codec("encode " + std::string(key) + ": " + error.description());
    }
    if (bytes.size() != info.dataSize) {
        throw SMCError::codec("size mismatch for " + std::string(key) + ": encoded " +
                              std::to_string(bytes.size()) + " != " + std::to_string(info.dataSize));
    }
    SMCParamStruct input = command(SMCCommand::writeValue, FourCC::code(key));
    input.keyInfo.dataSize = info.dataSize;
    input.keyInfo.dataType = info.dataType;
    input.setValueBytes(bytes);
    throwIfFailed(call(input).result, key);
}

std::int64_t SMCKernelBridge::keyCount() {
    // Decoded values are finite; the clamp keeps a nonsense float inside the conversion's range.
    constexpr double limit = 0x1p62;
    return static_cast<std::int64_t>(clampTo(read("#KEY"), -limit, limit));
}

std::string SMCKernelBridge::keyAt(std::int64_t index) {
    if (index < 0 || index > std::numeric_limits<std::uint32_t>::max()) {
        std::fprintf(stderr, "fatal: key index %lld is outside 0...4294967295\n",
                     static_cast<long long>(index));
        std::abort();
    }
    SMCParamStruct input = command(SMCCommand::keyByIndex, 0);
    input.data32 = static_cast<std::uint32_t>(index);
    const SMCParamStruct output = call(input);
    throwIfFailed(output.result, "#IDX");
    return FourCC::string(output.key);
}

bool SMCKernelBridge::hasKey(std::string_view key) {
    try {
        keyInfo(key);
        return true;
    } catch (const SMCError&) {
        return false;
    }
}

} // namespace halvoren
