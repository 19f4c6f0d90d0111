#include "ui/modes/mode_delete_dialog.h"

#include "ui/components/glass_controls.h"
#include "ui/modes/mode_controls.h"
#include "ui/panel/panel_buttons.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace halvoren {

namespace {

constexpr int textWidth = 320;

QLabel* text(const QString& words, theme::FontRole role, bool primary, QWidget* parent) {
    auto* label = new QLabel(words, parent);
    label->setWordWrap(true);
    label->setFixedWidth(textWidth);
    label->setFont(theme::font(role));
    QPalette ink = label->palette();
    const theme::Appearance look = theme::currentAppearance();
    ink.setColor(QPalette::WindowText, primary ? theme::primaryColor(look) : theme::secondaryColor(look));
    label->setPalette(ink);
    return label;
}

} // namespace

ModeDeleteDialog::ModeDeleteDialog(const QString& message, const QColor& accent, QWidget* parent)
    : QDialog(parent, Qt::Sheet | Qt::FramelessWindowHint)
    , message_(text(message, theme::FontRole::body, false, this))
    , delete_(new ActionButton(QStringLiteral("Delete"), ActionButton::Style::destructive, this))
    , cancel_(new FooterButton(QStringLiteral("Cancel"), std::string(), this)) {
    setWindowTitle(QStringLiteral("Delete this mode?"));
    setAttribute(Qt::WA_TranslucentBackground);
    setWindowModality(Qt::WindowModal);
    auto* column = new QVBoxLayout(this);
    column->setSizeConstraint(QLayout::SetFixedSize);
    column->setContentsMargins(26, 22, 26, 20);
    column->setSpacing(8);
    column->addWidget(text(windowTitle(), theme::FontRole::dialogTitle, true, this));
    column->addWidget(message_);
    column->addSpacing(10);
    auto* buttons = new QHBoxLayout();
    buttons->addStretch(1);
    buttons->addWidget(cancel_);
    buttons->addWidget(delete_);
    column->addLayout(buttons);
    cancel_->setAccent(accent);
    delete_->setAccent(accent);
    setTabOrder(cancel_, delete_);
    // The safe choice holds the focus, so a stray Return does not destroy anything.
    cancel_->setFocus();
    QObject::connect(cancel_, &QAbstractButton::clicked, this, &QDialog::reject);
    QObject::connect(delete_, &QAbstractButton::clicked, this, &QDialog::accept);
}

void ModeDeleteDialog::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const theme::Appearance look = theme::currentAppearance();
    painter.setPen(QPen(theme::borderColor(look, theme::prefersIncreasedContrast()), 1.0));
    painter.setBrush(theme::cardBackground(look));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 16.0, 16.0);
}

} // namespace halvoren
