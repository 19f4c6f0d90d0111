#include "ui/settings/settings_controls.h"

#include "ui/components/sheet_dialog.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/symbols.h"

#include <QComboBox>
#include <QFontMetricsF>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QTimeEdit>
#include <cmath>

namespace halvoren {

namespace {

void setInk(QWidget& widget, const QColor& ink) {
    QPalette palette = widget.palette();
    palette.setColor(QPalette::WindowText, ink);
    palette.setColor(QPalette::Text, ink);
    palette.setColor(QPalette::ButtonText, ink);
    widget.setPalette(palette);
}

} // namespace

namespace settings {

QLabel* rowLabel(const QString& text) {
    auto* label = new QLabel(text);
    label->setFont(theme::font(theme::FontRole::body));
    setInk(*label, theme::primaryColor(theme::currentAppearance()));
    return label;
}

QLabel* noteLabel(const QString& text) {
    return textLabel(text, theme::FontRole::caption, false);
}

QHBoxLayout* labelledRow(const QString& label, QWidget* control) {
    auto* row = new QHBoxLayout();
    row->setSpacing(12);
    QLabel* title = rowLabel(label);
    title->setBuddy(control);
    row->addWidget(title);
    row->addStretch(1);
    row->addWidget(control, 0, Qt::AlignRight | Qt::AlignVCenter);
    return row;
}

void styleTimeEdit(QTimeEdit& edit) {
    edit.setStyleSheet(
        glassFieldSheet("QTimeEdit")
            .replace(QStringLiteral("padding: 3px 26px 3px 10px;"), QStringLiteral("padding: 3px 10px;")));
    edit.setFont(theme::font(theme::FontRole::body));
    edit.setDisplayFormat(QStringLiteral("HH:mm"));
    edit.setButtonSymbols(QAbstractSpinBox::NoButtons);
    edit.setAlignment(Qt::AlignCenter);
    edit.setWrapping(true);
}

} // namespace settings

} // namespace halvoren
