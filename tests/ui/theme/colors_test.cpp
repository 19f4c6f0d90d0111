#include "ui/theme/colors.h"
#include "ui/ui_test_support.h"

#include <QPalette>

namespace halvoren::theme {
namespace {

using ColorsTest = UiTest;

TEST_F(ColorsTest, SystemAccentFollowsTheDesktopAndTheOthersAreFixed) {
    for (const QColor desktop : {QColor(10, 200, 90), QColor(200, 40, 120)}) {
        QPalette palette = QGuiApplication::palette();
        palette.setColor(QPalette::Highlight, desktop);
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
        palette.setColor(QPalette::Accent, desktop);
#endif
        QGuiApplication::setPalette(palette);
        EXPECT_EQ(accentColor(AccentChoice::system), desktop);
        EXPECT_NE(accentColor(AccentChoice::sky), desktop);
    }
}

TEST_F(ColorsTest, AForcedAppearanceWinsOverTheDesktop) {
    QPalette dark = QGuiApplication::palette();
    dark.setColor(QPalette::Window, QColor(30, 30, 30));
    dark.setColor(QPalette::WindowText, QColor(240, 240, 240));
    QGuiApplication::setPalette(dark);
#if QT_VERSION < QT_VERSION_CHECK(6, 5, 0)
    EXPECT_EQ(currentAppearance(), Appearance::dark);
#endif
    forceAppearance(Appearance::light);
    EXPECT_EQ(currentAppearance(), Appearance::light);
    forceAppearance(Appearance::dark);
    EXPECT_EQ(currentAppearance(), Appearance::dark);
    forceAppearance(std::nullopt);
}

TEST(BorderColorTest, IncreasedContrastIsThePrimaryColourAtAThird) {
    for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
        const QColor border = borderColor(appearance, true);
        EXPECT_NEAR(border.alphaF(), 0.35, 0.01);
        EXPECT_EQ(border.rgb(), primaryColor(appearance).rgb());
        EXPECT_LT(borderColor(appearance, false).alphaF(), 0.35);
    }
}

} // namespace
} // namespace halvoren::theme
