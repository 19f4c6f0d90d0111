#include "ui/components/sheet_dialog.h"

#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"

#include <QLabel>
#include <QPainter>

namespace halvoren {

SheetDialog::SheetDialog(QWidget* parent)
    : QDialog(parent, Qt::Sheet | Qt::FramelessWindowHint) {}

void SheetDialog::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const theme::Appearance look = theme::currentAppearance();
    painter.setPen(QPen(theme::borderColor(look, theme::prefersIncreasedContrast()), 1.0));
    painter.setBrush(theme::cardBackground(look));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 16.0, 16.0);
}

QLabel* textLabel(const QString& words, theme::FontRole role, bool primary, QWidget* parent, int fixedWidth) {
    auto* label = new QLabel(words, parent);
    label->setWordWrap(true);
    if (fixedWidth > 0) {
        label->setFixedWidth(fixedWidth);
    }
    label->setFont(theme::font(role));
    QPalette ink = label->palette();
    const theme::Appearance look = theme::currentAppearance();
    ink.setColor(QPalette::WindowText, primary ? theme::primaryColor(look) : theme::secondaryColor(look));
    label->setPalette(ink);
    return label;
}

} // namespace halvoren
