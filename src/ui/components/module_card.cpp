#include "ui/components/module_card.h"

#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/glass.h"

#include <QEvent>
#include <QFontMetrics>
#include <QPainter>

namespace halvoren {

namespace {

constexpr int titleGap = 8;

} // namespace

ModuleCard::ModuleCard(QWidget* parent)
    : QFrame(parent) {
    setFrameShape(QFrame::NoFrame);
    setAttribute(Qt::WA_TranslucentBackground);
    updateMargins();
}

void ModuleCard::setTitle(std::optional<QString> title) {
    title_ = std::move(title);
    setAccessibleName(title_.value_or(QString()));
    updateMargins();
    update();
}

void ModuleCard::setTint(std::optional<QColor> tint) {
    tint_ = tint;
    update();
}

void ModuleCard::setFrost(double frost) {
    frost_ = frost;
    update();
}

void ModuleCard::setPadding(int padding) {
    padding_ = std::max(padding, 0);
    updateMargins();
}

void ModuleCard::updateMargins() {
    const int titleHeight =
        title_ ? QFontMetrics(theme::font(theme::FontRole::caption)).height() + titleGap : 0;
    setContentsMargins(padding_, padding_ + titleHeight, padding_, padding_);
}

void ModuleCard::changeEvent(QEvent* event) {
    QFrame::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        updateMargins();
    }
}

// QFrame puts its own frame widths back as the contents margins when it is polished or moved
// to another parent, which would drop the padding and the title's room.
bool ModuleCard::event(QEvent* event) {
    const bool handled = QFrame::event(event);
    if (event->type() == QEvent::Polish || event->type() == QEvent::ParentChange) {
        updateMargins();
    }
    return handled;
}

void ModuleCard::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const theme::Appearance appearance = theme::currentAppearance();
    theme::paintGlassCard(painter, QRectF(rect()), frost_, tint_, appearance,
                          theme::prefersIncreasedContrast());
    if (title_) {
        painter.setFont(theme::font(theme::FontRole::caption));
        painter.setPen(theme::secondaryColor(appearance));
        const QRectF titleRect(padding_, padding_, width() - 2.0 * padding_,
                               QFontMetrics(painter.font()).height());
        painter.drawText(titleRect, Qt::AlignLeft | Qt::AlignVCenter, title_->toUpper());
    }
}

} // namespace halvoren
