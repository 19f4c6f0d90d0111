#pragma once

#include <QFont>

namespace halvoren::theme {

// The type roles the views use; sizes are in points.
enum class FontRole {
    captionSmall,
    caption,
    body,
    bodyEmphasis,
    rowValue,
    rowValueLarge,
    panelTitle,
    dialogTitle,
    heroValue,
    controlDetailEmphasis,
    controlDetailStrong,
    glyphXS,
    puckGlyph,
    bannerGlyph,
    heroConditionGlyph,
};

// Inter on Linux, the system font on macOS. Roles that show changing numbers get tabular
// figures so that digits do not jitter as values change.
QFont font(FontRole role);

// True when the role shows numbers that change in place.
bool isNumericRole(FontRole role);

} // namespace halvoren::theme
