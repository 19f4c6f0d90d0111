#include "ui/theme/fonts.h"

#include <QFontDatabase>

namespace halvoren::theme {

namespace {

struct RoleStyle {
    double points;
    QFont::Weight weight;
};

RoleStyle styleOf(FontRole role) {
    switch (role) {
    case FontRole::captionSmall:
        return {9.5, QFont::Medium};
    case FontRole::caption:
        return {10.5, QFont::Medium};
    case FontRole::body:
        return {12.0, QFont::Normal};
    case FontRole::bodyEmphasis:
        return {12.0, QFont::DemiBold};
    case FontRole::rowValue:
        return {12.0, QFont::Medium};
    case FontRole::rowValueLarge:
        return {20.0, QFont::DemiBold};
    case FontRole::panelTitle:
        return {14.0, QFont::DemiBold};
    case FontRole::dialogTitle:
        return {19.0, QFont::Bold};
    case FontRole::heroValue:
        return {34.0, QFont::DemiBold};
    case FontRole::controlDetailEmphasis:
        return {11.0, QFont::Medium};
    case FontRole::controlDetailStrong:
        return {11.0, QFont::DemiBold};
    case FontRole::glyphXS:
        return {10.0, QFont::Normal};
    case FontRole::puckGlyph:
        return {15.0, QFont::Normal};
    case FontRole::bannerGlyph:
        return {20.0, QFont::Normal};
    case FontRole::heroConditionGlyph:
        return {44.0, QFont::Normal};
    }
    return {12.0, QFont::Normal};
}

QFont baseFont() {
#ifdef Q_OS_MACOS
    return QFontDatabase::systemFont(QFontDatabase::GeneralFont);
#else
    QFont inter(QStringLiteral("Inter"));
    // Where Inter is missing, the desktop's font rather than whatever fontconfig substitutes.
    if (!QFontDatabase::hasFamily(QStringLiteral("Inter"))) {
        inter = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    }
    return inter;
#endif
}

} // namespace

bool isNumericRole(FontRole role) {
    return role == FontRole::rowValue || role == FontRole::rowValueLarge || role == FontRole::heroValue ||
           role == FontRole::controlDetailEmphasis || role == FontRole::controlDetailStrong;
}

QFont font(FontRole role) {
    const RoleStyle style = styleOf(role);
    QFont result = baseFont();
    result.setPointSizeF(style.points);
    result.setWeight(style.weight);
    result.setHintingPreference(QFont::PreferNoHinting);
#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0)
    if (isNumericRole(role)) {
        result.setFeature(QFont::Tag("tnum"), 1);
    }
#endif
    // Older Qt cannot ask for the feature; Inter's default figures already share one advance.
    return result;
}

} // namespace halvoren::theme
