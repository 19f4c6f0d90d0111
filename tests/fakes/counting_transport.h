#pragma once

#include "core/four_cc.h"
#include "core/smc_data_codec.h"
#include "core/smc_data_type.h"
#include "smc/smc_kernel_bridge.h"
#include "smc/smc_param_struct.h"
#include "smc/smc_transport.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <numeric>
#include <optional>
#include <string_view>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace halvoren {

// A programmable controller in memory that counts its exchanges, for tests of everything
// above the transport seam. Keys are listed in the by-index table in the order they are
// first set. "#KEY" answers the size of that table as ui32 unless setKeyCount says
// otherwise, and is never in the table itself. Unknown keys and indices past the table
// answer result 132. Every member may be used from any thread.
class CountingTransport final : public SMCTransport {
public:
    // Adds or replaces a key holding `value` encoded as `type`, its dataSize that encoding's.
    void setValue(std::string_view key, SMCDataType type, double value) {
        auto encoded = SMCDataCodec::encode(value, type);
        const auto size = static_cast<std::uint32_t>(encoded.size());
        setRaw(key, type.code(), size, std::move(encoded));
    }
    // Adds or replaces a key with any type code, declared size and bytes.
    void setRaw(std::uint32_t code, std::uint32_t dataType, std::uint32_t dataSize,
                std::vector<std::uint8_t> bytes);
    void setRaw(std::string_view key, std::uint32_t dataType, std::uint32_t dataSize,
                std::vector<std::uint8_t> bytes) {
        setRaw(FourCC::code(key), dataType, dataSize, std::move(bytes));
    }
    // An explicit "#KEY" (ui32), for a count that disagrees with the table.
    void setKeyCount(std::uint32_t count) {
        locked([&] { keyCount = count; });
    }

    // `command` on `key` (or the by-index command on `index`) answers with this result byte
    // and has no effect; 0 restores normal answers. The fail* forms throw
    // SMCError::callFailed(code) instead.
    void setResult(std::string_view key, SMCCommand command, std::uint8_t result) {
        setOutcome({byte(command), FourCC::code(key)}, {result, {}});
    }
    void setIndexResult(std::uint32_t index, std::uint8_t result) {
        setOutcome({byte(SMCCommand::keyByIndex), index}, {result, {}});
    }
    void failCall(std::string_view key, SMCCommand command, std::int32_t code) {
        setOutcome({byte(command), FourCC::code(key)}, {0, code});
    }
    void failIndex(std::uint32_t index, std::int32_t code) {
        setOutcome({byte(SMCCommand::keyByIndex), index}, {0, code});
    }
    // Every exchange throws SMCError::callFailed(code) until clearFailures.
    void failEveryCall(std::int32_t code) {
        locked([&] { everyCallFailure = code; });
    }
    // Drops every result override and failure.
    void clearFailures() {
        locked([&] {
            overrides.clear();
            everyCallFailure.reset();
        });
    }

    // Each exchange first waits this long, as a slow controller does.
    void setDelay(std::chrono::microseconds delay) {
        locked([&] { this->delay = delay; });
    }
    // The thread that made the latest exchange.
    std::thread::id lastThread() const {
        return locked([&] { return lastCaller; });
    }

    // Exchanges made, failed ones included.
    int calls(SMCCommand command) const {
        return locked([&] { return counts.contains(byte(command)) ? counts.at(byte(command)) : 0; });
    }
    int totalCalls() const {
        return locked([&] {
            return std::accumulate(counts.begin(), counts.end(), 0,
                                   [](int sum, const auto& entry) { return sum + entry.second; });
        });
    }
    void resetCounts() {
        locked([&] { counts.clear(); });
    }
    // The latest input of a command, if there was one.
    std::optional<SMCParamStruct> lastInput(SMCCommand command) const {
        return locked([&] {
            const auto it = lastInputs.find(byte(command));
            return it == lastInputs.end() ? std::nullopt : std::optional(it->second);
        });
    }
    // The value bytes a key holds now (after writes, too); empty for an unknown key.
    std::vector<std::uint8_t> bytes(std::string_view key) const {
        return locked([&] {
            const auto found = entry(FourCC::code(key));
            return found ? found->bytes : std::vector<std::uint8_t>{};
        });
    }

    SMCParamStruct call(const SMCParamStruct& input) override;

private:
    struct Entry {
        SMCKeyInfoData info;
        std::vector<std::uint8_t> bytes;
    };
    // Either a result byte to answer with or a code to throw.
    struct Outcome {
        std::uint8_t result = 0;
        std::optional<std::int32_t> thrown;
    };
    using Subject = std::pair<std::uint8_t, std::uint32_t>; // command, key code or index

    static constexpr std::uint8_t byte(SMCCommand command) { return static_cast<std::uint8_t>(command); }
    template <class F>
    auto locked(F&& f) const -> std::invoke_result_t<F&> {
        const std::lock_guard guard(lock);
        return f();
    }
    void setOutcome(Subject subject, Outcome outcome) {
        locked([&] {
            if (outcome.result == 0 && !outcome.thrown) {
                overrides.erase(subject);
            } else {
                overrides[subject] = outcome;
            }
        });
    }
    // Callers hold the lock.
    std::optional<Entry> entry(std::uint32_t code) const;

    mutable std::mutex lock;
    std::map<std::uint32_t, Entry> keys;
    std::vector<std::uint32_t> table;
    std::optional<std::uint32_t> keyCount;
    std::map<Subject, Outcome> overrides;
    std::optional<std::int32_t> everyCallFailure;
    std::chrono::microseconds delay{0};
    std::thread::id lastCaller;
    std::map<std::uint8_t, int> counts;
    std::map<std::uint8_t, SMCParamStruct> lastInputs;
};

// A shared bridge over a fresh fake. The bridge owns the fake, which lives as long as it.
struct FakeBridge {
    CountingTransport* fake;
    std::shared_ptr<SMCKernelBridge> bridge;
};
inline FakeBridge makeFakeBridge() {
    auto transport = std::make_unique<CountingTransport>();
    CountingTransport* fake = transport.get();
    return {fake, std::make_shared<SMCKernelBridge>(std::move(transport))};
}

} // namespace halvoren
