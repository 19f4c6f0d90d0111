#include "ui/modes/mode_delete_dialog.h"

#include "ui/components/glass_controls.h"
#include "ui/components/sheet_dialog.h"
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

} // namespace

ModeDeleteDialog::ModeDeleteDialog(const QString& message, const QColor& accent, QWidget* parent)
    : SheetDialog(parent)
    , message_(textLabel(message, theme::FontRole::body, false, this, textWidth))
    , delete_(new ActionButton(QStringLiteral("Delete"), ActionButton::Style::destructive, this))
    , cancel_(new FooterButton(QStringLiteral("Cancel"), std::string(), this)) {
    setWindowTitle(QStringLiteral("Delete this mode?"));
    setAttribute(Qt::WA_TranslucentBackground);
    setWindowModality(Qt::WindowModal);
    auto* column = new QVBoxLayout(this);
    column->setSizeConstraint(QLayout::SetFixedSize);
    column->setContentsMargins(26, 22, 26, 20);
    column->setSpacing(8);
    column->addWidget(textLabel(windowTitle(), theme::FontRole::dialogTitle, true, this, textWidth));
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

} // namespace halvoren
