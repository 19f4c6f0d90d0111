#include "smc/smc_param_struct.h"

#include <bit>
#include <cstring>
#include <type_traits>

namespace halvoren {

static_assert(std::endian::native == std::endian::little,
              "the controller exchange is defined in little-endian host order");
static_assert(std::is_trivially_copyable_v<SMCParamStruct>);

namespace {

template <class T>
void put(std::array<std::uint8_t, 80>& wire, std::size_t offset, const T& value) {
    std::memcpy(wire.data() + offset, &value, sizeof value);
}

template <class T>
T get(std::span<const std::uint8_t, 80> wire, std::size_t offset) {
    T value{};
    std::memcpy(&value, wire.data() + offset, sizeof value);
    return value;
}

} // namespace

// Field by field, so that the padding bytes of the image are always zero.
std::array<std::uint8_t, 80> SMCParamStruct::toWire() const {
    std::array<std::uint8_t, 80> wire{};
    put(wire, 0, key);
    put(wire, 4, vers.major);
    put(wire, 5, vers.minor);
    put(wire, 6, vers.build);
    put(wire, 7, vers.reserved);
    put(wire, 8, vers.release);
    put(wire, 12, pLimitData.version);
    put(wire, 14, pLimitData.length);
    put(wire, 16, pLimitData.cpuPLimit);
    put(wire, 20, pLimitData.gpuPLimit);
    put(wire, 24, pLimitData.memPLimit);
    put(wire, 28, std::uint32_t{keyInfo.dataSize});
    put(wire, 32, std::uint32_t{keyInfo.dataType});
    put(wire, 36, std::uint8_t{keyInfo.dataAttributes});
    put(wire, 38, padding);
    put(wire, 40, result);
    put(wire, 41, status);
    put(wire, 42, data8);
    put(wire, 44, data32);
    std::memcpy(wire.data() + 48, bytes.data(), bytes.size());
    return wire;
}

SMCParamStruct SMCParamStruct::fromWire(std::span<const std::uint8_t, 80> wire) {
    SMCParamStruct s;
    s.key = get<std::uint32_t>(wire, 0);
    s.vers.major = get<std::uint8_t>(wire, 4);
    s.vers.minor = get<std::uint8_t>(wire, 5);
    s.vers.build = get<std::uint8_t>(wire, 6);
    s.vers.reserved = get<std::uint8_t>(wire, 7);
    s.vers.release = get<std::uint16_t>(wire, 8);
    s.pLimitData.version = get<std::uint16_t>(wire, 12);
    s.pLimitData.length = get<std::uint16_t>(wire, 14);
    s.pLimitData.cpuPLimit = get<std::uint32_t>(wire, 16);
    s.pLimitData.gpuPLimit = get<std::uint32_t>(wire, 20);
    s.pLimitData.memPLimit = get<std::uint32_t>(wire, 24);
    s.keyInfo.dataSize = get<std::uint32_t>(wire, 28);
    s.keyInfo.dataType = get<std::uint32_t>(wire, 32);
    s.keyInfo.dataAttributes = get<std::uint8_t>(wire, 36);
    s.padding = get<std::uint16_t>(wire, 38);
    s.result = get<std::uint8_t>(wire, 40);
    s.status = get<std::uint8_t>(wire, 41);
    s.data8 = get<std::uint8_t>(wire, 42);
    s.data32 = get<std::uint32_t>(wire, 44);
    std::memcpy(s.bytes.data(), wire.data() + 48, s.bytes.size());
    return s;
}

} // namespace halvoren
