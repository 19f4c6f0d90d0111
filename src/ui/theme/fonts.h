#pragma once

#include <QFont>
#include <QRectF>
#include <QString>

class QPainter;

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

// Numbers that change in place: every digit takes the widest digit's advance, so a value
// keeps its width as it changes. Where Qt can ask the font for tabular figures it does.
double tabularTextWidth(const QFont& font, const QString& text);
void drawTabularText(QPainter& painter, const QRectF& rect, Qt::Alignment alignment, const QString& text);

} // namespace halvoren::theme
