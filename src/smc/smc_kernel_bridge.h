#pragma once

#include "core/smc_data_type.h"
#include "smc/smc_param_struct.h"
#include "smc/smc_transport.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace halvoren {

// A value as the controller holds it: its bytes (dataSize of them) and the type from its
// key information.
struct SMCRawValue {
    std::vector<std::uint8_t> bytes;
    SMCDataType type;
};

// Key-level access to the controller over one transport. Every failure is thrown as
// SMCError. Keys must be exactly four bytes of UTF-8; other text aborts the process.
//
// Safe for use by several threads at once: `callLock` is held across each transport call
// alone and `cacheLock` across each use of the cache alone, so the two never nest. Two
// threads that miss the cache for one key both ask, and the later store writes the same
// entry again.
class SMCKernelBridge {
public:
    // Takes any transport; a null one aborts.
    explicit SMCKernelBridge(std::unique_ptr<SMCTransport> transport);

    SMCKernelBridge(const SMCKernelBridge&) = delete;
    SMCKernelBridge& operator=(const SMCKernelBridge&) = delete;

    // One exchange as it stands, serialised with every other. Transport errors pass
    // through; the result byte of the output is not looked at.
    SMCParamStruct call(const SMCParamStruct& input);

    // Cached for the life of the bridge once it succeeds; failures are asked again.
    SMCKeyInfoData keyInfo(std::string_view key);
    SMCRawValue readRaw(std::string_view key);
    double read(std::string_view key);
    // Encodes with the key's own type and sends nothing unless the encoded size matches it.
    void write(std::string_view key, double value);
    // "#KEY" as an integer, truncated toward zero; a nonsense float is held within ±2^62.
    std::int64_t keyCount();
    // The key at an index of the controller's table. An index outside 0...UInt32.max aborts.
    std::string keyAt(std::int64_t index);
    // False on any failure, a failed kernel call too.
    bool hasKey(std::string_view key);

private:
    std::unique_ptr<SMCTransport> transport;
    std::mutex callLock;
    std::mutex cacheLock;
    std::unordered_map<std::uint32_t, SMCKeyInfoData> keyInfoCache;
};

} // namespace halvoren
