#include "ui/theme/appearance.h"

#include <QGuiApplication>
#include <QPalette>
#include <QStyleHints>

namespace halvoren::theme {

namespace {

struct Preferences {
    std::optional<Appearance> forced;
    bool reducedMotion = false;
    bool increasedContrast = false;
};

Preferences& preferences() {
    static Preferences shared;
    return shared;
}

} // namespace

Appearance currentAppearance() {
    if (preferences().forced) {
        return *preferences().forced;
    }
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    if (QGuiApplication::instance() != nullptr) {
        switch (QGuiApplication::styleHints()->colorScheme()) {
        case Qt::ColorScheme::Dark:
            return Appearance::dark;
        case Qt::ColorScheme::Light:
            return Appearance::light;
        case Qt::ColorScheme::Unknown:
            break;
        }
    }
#endif
    // Without a scheme hint the palette tells: light text on a dark window means dark.
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness()
               ? Appearance::dark
               : Appearance::light;
}

void forceAppearance(std::optional<Appearance> appearance) {
    preferences().forced = appearance;
}

bool prefersReducedMotion() {
    return preferences().reducedMotion;
}

void setPrefersReducedMotion(bool reduced) {
    preferences().reducedMotion = reduced;
}

bool prefersIncreasedContrast() {
    return preferences().increasedContrast;
}

void setPrefersIncreasedContrast(bool increased) {
    preferences().increasedContrast = increased;
}

} // namespace halvoren::theme
