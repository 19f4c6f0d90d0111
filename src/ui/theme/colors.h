#pragma once

#include "core/display_settings.h"
#include "ui/theme/appearance.h"

#include <QColor>
#include <string_view>

namespace halvoren::theme {

std::string_view displayName(AccentChoice choice);

// The accent of controls and highlights; `system` follows the desktop's accent.
QColor accentColor(AccentChoice choice);

// The opaque panel colour.
QColor cardBackground(Appearance appearance);
// Primary text, and the hairline around glass; with increased contrast the border is the
// primary colour at 0.35.
QColor primaryColor(Appearance appearance);
QColor secondaryColor(Appearance appearance);
QColor borderColor(Appearance appearance, bool increasedContrast);

} // namespace halvoren::theme
