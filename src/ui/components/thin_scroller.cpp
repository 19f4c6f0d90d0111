#include "ui/components/thin_scroller.h"

#include <QScrollArea>
#include <QScrollBar>

namespace halvoren {

void useThinScroller(QScrollArea& area) {
    area.setFrameShape(QFrame::NoFrame);
    area.setWidgetResizable(true);
    area.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area.viewport()->setAutoFillBackground(false);
    area.verticalScrollBar()->setStyleSheet(QStringLiteral(
        "QScrollBar:vertical { background: transparent; width: 10px; margin: 4px 2px 4px 0; }"
        "QScrollBar::handle:vertical { background: rgba(128, 128, 128, 0.45); border-radius: 4px; "
        "min-height: 36px; }"
        "QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0; }"
        "QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical { background: transparent; }"));
}

} // namespace halvoren
