#pragma once

#include <QMargins>

class QVBoxLayout;
class QWidget;

namespace halvoren {

// The column a section lays its cards in: no wider than `maximumWidth`, inside `margins` of
// `page`, at the left or centred. The cards' parent is the column's widget
// (`column->parentWidget()`).
QVBoxLayout* contentColumn(QWidget& page, int maximumWidth, QMargins margins, int spacing,
                           bool centred = false);

} // namespace halvoren
