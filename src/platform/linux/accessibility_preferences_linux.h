#pragma once

#include "platform/accessibility_preferences.h"

#include <QDBusConnection>
#include <QVariant>
#include <memory>
#include <optional>

namespace halvoren {

// The preferences as the desktop portal's Settings interface on `bus` gives them; the system's
// own uses the session bus.
std::shared_ptr<AccessibilityPreferences> portalAccessibilityPreferences(QDBusConnection bus);

// A portal setting's boolean, however deeply the portal wrapped it in variants (older portals
// answer `Read` with a variant inside a variant); none for anything else.
std::optional<bool> portalBool(const QVariant& value);

} // namespace halvoren
