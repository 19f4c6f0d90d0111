#pragma once

#include "engine/observable.h"

#include <functional>
#include <utility>
#include <vector>

namespace halvoren {

// The engine fields a view watches, let go of when the view goes: a view built anew on each
// opening of the panel must not leave observers behind on the engine.
class EngineWatch {
public:
    EngineWatch() = default;
    EngineWatch(const EngineWatch&) = delete;
    EngineWatch& operator=(const EngineWatch&) = delete;
    ~EngineWatch() {
        for (auto& release : releases_) {
            release();
        }
    }

    // Calls `changed` (with no argument) whenever `field` changes.
    template <class T, class F>
    void on(const Observable<T>& field, F changed) {
        const int token = field.observe([changed = std::move(changed)](const T&) { changed(); });
        releases_.emplace_back([&field, token] { field.unobserve(token); });
    }

private:
    std::vector<std::function<void()>> releases_;
};

} // namespace halvoren
