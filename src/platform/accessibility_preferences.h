#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace halvoren {

// The desktop's accessibility choices that change how the interface draws itself.
struct AccessibilitySettings {
    bool reduceMotion = false;     // nothing turns or slides
    bool increaseContrast = false; // stronger borders and text

    friend bool operator==(const AccessibilitySettings&, const AccessibilitySettings&) = default;
};

// Watches the desktop's accessibility preferences. Main thread only. Until the desktop has
// answered, and where it has no answer, every preference is off.
class AccessibilityPreferences {
public:
    using Observer = std::function<void(const AccessibilitySettings&)>;

    virtual ~AccessibilityPreferences() = default;
    AccessibilityPreferences(const AccessibilityPreferences&) = delete;
    AccessibilityPreferences& operator=(const AccessibilityPreferences&) = delete;

    const AccessibilitySettings& current() const { return current_; }

    // Told after each real change; returns a token for `unobserve`.
    int observe(Observer observer) {
        observers_.emplace_back(++lastToken_, std::move(observer));
        return lastToken_;
    }
    void unobserve(int token) {
        std::erase_if(observers_, [token](const auto& entry) { return entry.first == token; });
    }

protected:
    AccessibilityPreferences() = default;

    // What the desktop now says; observers hear of it only if it differs.
    void update(const AccessibilitySettings& settings) {
        if (settings == current_) {
            return;
        }
        current_ = settings;
        // A copy: an observer may stop observing while it runs.
        const auto observers = observers_;
        for (const auto& entry : observers) {
            entry.second(current_);
        }
    }

private:
    AccessibilitySettings current_;
    std::vector<std::pair<int, Observer>> observers_;
    int lastToken_ = 0;
};

// The running desktop's own preferences.
std::shared_ptr<AccessibilityPreferences> systemAccessibilityPreferences();

} // namespace halvoren
