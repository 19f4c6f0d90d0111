#include "platform/linux/accessibility_preferences_linux.h"

#include <QDBusVariant>
#include <gtest/gtest.h>

namespace halvoren {
namespace {

QVariant wrapped(const QVariant& value, int times) {
    QVariant result = value;
    for (int i = 0; i < times; ++i) {
        result = QVariant::fromValue(QDBusVariant(result));
    }
    return result;
}

// Older portals answer `Read` with the value inside a second variant; a value of another type
// is no answer, and the unwrapping stops at a depth no portal uses.
TEST(AccessibilityPreferencesTest, PortalValuesAreUnwrappedToTheirBoolean) {
    EXPECT_EQ(portalBool(QVariant(true)), true);
    EXPECT_EQ(portalBool(wrapped(QVariant(false), 1)), false);
    EXPECT_EQ(portalBool(wrapped(QVariant(true), 2)), true);
    EXPECT_EQ(portalBool(wrapped(QVariant(true), 5)), std::nullopt);
    EXPECT_EQ(portalBool(wrapped(QVariant(QStringLiteral("true")), 2)), std::nullopt);
    EXPECT_EQ(portalBool(wrapped(QVariant(1), 1)), std::nullopt);
    EXPECT_EQ(portalBool(QVariant()), std::nullopt);
}

} // namespace
} // namespace halvoren
