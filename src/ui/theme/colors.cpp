#include "ui/theme/colors.h"

#include <QGuiApplication>
#include <QPalette>

namespace halvoren::theme {

std::string_view displayName(AccentChoice choice) {
    switch (choice) {
    case AccentChoice::system:
        return "System";
    case AccentChoice::sky:
        return "Sky";
    case AccentChoice::teal:
        return "Teal";
    case AccentChoice::indigo:
        return "Indigo";
    case AccentChoice::violet:
        return "Violet";
    case AccentChoice::graphite:
        return "Graphite";
    }
    return {};
}

QColor accentColor(AccentChoice choice) {
    switch (choice) {
    case AccentChoice::system:
        break;
    case AccentChoice::sky:
        return QColor::fromRgbF(0.10F, 0.58F, 0.98F);
    case AccentChoice::teal:
        return QColor::fromRgbF(0.19F, 0.69F, 0.68F);
    case AccentChoice::indigo:
        return QColor::fromRgbF(0.42F, 0.46F, 0.95F);
    case AccentChoice::violet:
        return QColor::fromRgbF(0.64F, 0.45F, 0.94F);
    case AccentChoice::graphite:
        return QColor::fromRgbF(0.55F, 0.57F, 0.60F);
    }
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    QColor accent = QGuiApplication::palette().color(QPalette::Accent);
#else
    QColor accent = QGuiApplication::palette().color(QPalette::Highlight);
#endif
    accent.setAlphaF(1.0F);
    return accent;
}

QColor cardBackground(Appearance appearance) {
    return appearance == Appearance::light ? QColor::fromRgbF(0.993F, 0.985F, 0.967F)
                                           : QColor::fromRgbF(0.118F, 0.122F, 0.137F);
}

QColor primaryColor(Appearance appearance) {
    return appearance == Appearance::light ? QColor::fromRgbF(0.11F, 0.11F, 0.12F)
                                           : QColor::fromRgbF(0.96F, 0.96F, 0.97F);
}

QColor secondaryColor(Appearance appearance) {
    QColor color = primaryColor(appearance);
    color.setAlphaF(appearance == Appearance::light ? 0.58F : 0.62F);
    return color;
}

QColor borderColor(Appearance appearance, bool increasedContrast) {
    if (increasedContrast) {
        QColor color = primaryColor(appearance);
        color.setAlphaF(0.35F);
        return color;
    }
    // A hairline that reads on both the card and the backdrop: dark on light, light on dark.
    return appearance == Appearance::light ? QColor(0, 0, 0, 26) : QColor(255, 255, 255, 38);
}

} // namespace halvoren::theme
