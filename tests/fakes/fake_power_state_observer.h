#pragma once

#include "platform/power_state.h"

#include <mutex>

namespace halvoren {

// A power state that a test sets; read from any thread, as the engine reads it on a worker.
class FakePowerStateObserver final : public PowerStateObserver {
public:
    void set(const PowerReading& reading) {
        const std::lock_guard lock(mutex_);
        reading_ = reading;
    }
    int calls() const {
        const std::lock_guard lock(mutex_);
        return calls_;
    }

    PowerReading reading() override {
        const std::lock_guard lock(mutex_);
        ++calls_;
        return reading_;
    }

private:
    mutable std::mutex mutex_;
    PowerReading reading_;
    int calls_ = 0;
};

} // namespace halvoren
