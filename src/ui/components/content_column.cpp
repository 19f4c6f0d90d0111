#include "ui/components/content_column.h"

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <QWidget>

namespace halvoren {

QVBoxLayout* contentColumn(QWidget& page, int maximumWidth, QMargins margins, int spacing, bool centred) {
    auto* row = new QHBoxLayout(&page);
    row->setContentsMargins(margins);
    auto* holder = new QWidget(&page);
    holder->setMaximumWidth(maximumWidth);
    if (centred) {
        row->addStretch(0);
    }
    row->addWidget(holder, 1);
    row->addStretch(0);
    auto* column = new QVBoxLayout(holder);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(spacing);
    return column;
}

} // namespace halvoren
