#pragma once

#include "platform/login_item.h"

namespace halvoren {

// A login item that refuses with `failure` while it is set, leaving the state as it was.
class FakeLoginItem final : public LoginItem {
public:
    bool enabled = false;
    std::optional<std::string> failure;

    bool isEnabled() const override { return enabled; }
    std::optional<std::string> setEnabled(bool on) override {
        if (failure) {
            return failure;
        }
        enabled = on;
        return std::nullopt;
    }
};

} // namespace halvoren
