#pragma once

#include <functional>
#include <utility>
#include <vector>

namespace halvoren {

// A field that views watch. Setting it tells its observers only when the value really
// changed, so a control pass that changed nothing wakes no view. Main thread only.
template <class T>
class Observable {
public:
    using Observer = std::function<void(const T&)>;

    Observable() = default;
    explicit Observable(T initial)
        : value_(std::move(initial)) {}
    Observable(const Observable&) = delete;
    Observable& operator=(const Observable&) = delete;

    const T& value() const { return value_; }
    const T& operator*() const { return value_; }
    const T* operator->() const { return &value_; }

    // Returns whether the value changed (and observers were told).
    bool set(T value) {
        if (value_ == value) {
            return false;
        }
        value_ = std::move(value);
        notify();
        return true;
    }

    // Changes the value in place, with no copy: `edit` returns whether it changed anything,
    // and observers are told if it did.
    template <class Edit>
    bool modify(Edit&& edit) {
        if (!std::forward<Edit>(edit)(value_)) {
            return false;
        }
        notify();
        return true;
    }

    // Returns a token for `unobserve`. Const, since views watch the engine's fields through
    // its read-only accessors; watching changes no value.
    int observe(Observer observer) const {
        observers_.emplace_back(++lastToken_, std::move(observer));
        return lastToken_;
    }
    void unobserve(int token) const {
        std::erase_if(observers_, [token](const auto& o) { return o.first == token; });
    }

private:
    void notify() {
        // A copy: an observer may add or remove observers while it runs.
        const auto observers = observers_;
        for (const auto& entry : observers) {
            entry.second(value_);
        }
    }

    T value_{};
    mutable std::vector<std::pair<int, Observer>> observers_;
    mutable int lastToken_ = 0;
};

} // namespace halvoren
