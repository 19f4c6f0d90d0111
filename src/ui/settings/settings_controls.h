#pragma once

#include "ui/components/glass_controls.h"

#include <QComboBox>
#include <QString>
#include <optional>
#include <string>

class QLabel;
class QHBoxLayout;
class QTimeEdit;

namespace halvoren {

namespace settings {

// A row's label in the primary colour; a note in the secondary colour, small and wrapped.
QLabel* rowLabel(const QString& text);
QLabel* noteLabel(const QString& text);
// A label and a control pushed to the right edge.
QHBoxLayout* labelledRow(const QString& label, QWidget* control);
// Menus and time fields drawn like the rest of the glass controls.
void styleTimeEdit(QTimeEdit& edit);

} // namespace settings

} // namespace halvoren
