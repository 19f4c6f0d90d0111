#pragma once

#include "platform/accessibility_preferences.h"

namespace halvoren {

// Preferences that a test sets, as the desktop would change them.
class FakeAccessibilityPreferences final : public AccessibilityPreferences {
public:
    void set(const AccessibilitySettings& settings) { update(settings); }
};

} // namespace halvoren
