#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace halvoren {

struct SMCVersion {
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    std::uint8_t build = 0;
    std::uint8_t reserved = 0;
    std::uint16_t release = 0;
};

struct SMCPLimitData {
    std::uint16_t version = 0;
    std::uint16_t length = 0;
    std::uint32_t cpuPLimit = 0;
    std::uint32_t gpuPLimit = 0;
    std::uint32_t memPLimit = 0;
};

// Packed to nine bytes: the exchange places the next field right behind the
// attribute byte, not behind a padded twelve-byte record.
struct __attribute__((packed)) SMCKeyInfoData {
    std::uint32_t dataSize = 0;
    std::uint32_t dataType = 0;
    std::uint8_t dataAttributes = 0;

    friend bool operator==(const SMCKeyInfoData&, const SMCKeyInfoData&) = default;
};

// The commands of the exchange, carried in `data8`.
enum class SMCCommand : std::uint8_t {
    readValue = 5,
    writeValue = 6,
    keyByIndex = 8,
    keyInformation = 9,
};

// The controller's result codes that have a meaning of their own.
namespace SMCResult {
inline constexpr std::uint8_t success = 0;
inline constexpr std::uint8_t keyNotFound = 132;
inline constexpr std::uint8_t notReadable = 133;
inline constexpr std::uint8_t notWritable = 134;
} // namespace SMCResult

// The 80-byte structure exchanged with the controller's kernel driver, in host byte
// order (little-endian on every supported processor). The layout is the wire format:
// every offset is checked below.
struct SMCParamStruct {
    static constexpr std::size_t valueCapacity = 32;

    std::uint32_t key = 0;
    SMCVersion vers;
    SMCPLimitData pLimitData;
    SMCKeyInfoData keyInfo;
    std::uint16_t padding = 0;
    std::uint8_t result = 0;
    std::uint8_t status = 0;
    std::uint8_t data8 = 0;
    std::uint32_t data32 = 0;
    std::array<std::uint8_t, valueCapacity> bytes{};

    // The first `count` value bytes, the count clamped to 0...32.
    std::vector<std::uint8_t> valueBytes(long count) const {
        const auto n = static_cast<std::size_t>(std::clamp<long>(count, 0, valueCapacity));
        return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(n)};
    }

    // Fills all 32 value bytes: from `source` as far as it reaches (longer input is cut), zero behind.
    void setValueBytes(std::span<const std::uint8_t> source) {
        bytes.fill(0);
        std::copy_n(source.begin(), std::min(source.size(), valueCapacity), bytes.begin());
    }

    // The wire image, padding bytes zero.
    std::array<std::uint8_t, 80> toWire() const;
    static SMCParamStruct fromWire(std::span<const std::uint8_t, 80> wire);
};

static_assert(sizeof(SMCVersion) == 6);
static_assert(sizeof(SMCPLimitData) == 16);
static_assert(sizeof(SMCKeyInfoData) == 9);
static_assert(sizeof(SMCParamStruct) == 80);
static_assert(offsetof(SMCParamStruct, key) == 0);
static_assert(offsetof(SMCParamStruct, vers) == 4);
static_assert(offsetof(SMCParamStruct, pLimitData) == 12);
static_assert(offsetof(SMCParamStruct, keyInfo) == 28);
static_assert(offsetof(SMCParamStruct, keyInfo) + offsetof(SMCKeyInfoData, dataSize) == 28);
static_assert(offsetof(SMCParamStruct, keyInfo) + offsetof(SMCKeyInfoData, dataType) == 32);
static_assert(offsetof(SMCParamStruct, keyInfo) + offsetof(SMCKeyInfoData, dataAttributes) == 36);
static_assert(offsetof(SMCParamStruct, padding) == 38);
static_assert(offsetof(SMCParamStruct, result) == 40);
static_assert(offsetof(SMCParamStruct, status) == 41);
static_assert(offsetof(SMCParamStruct, data8) == 42);
static_assert(offsetof(SMCParamStruct, data32) == 44);
static_assert(offsetof(SMCParamStruct, bytes) == 48);
static_assert(offsetof(SMCVersion, release) == 4);
static_assert(offsetof(SMCPLimitData, cpuPLimit) == 4);
static_assert(offsetof(SMCPLimitData, memPLimit) == 12);

} // namespace halvoren
