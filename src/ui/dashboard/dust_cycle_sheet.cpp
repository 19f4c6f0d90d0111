#include "ui/dashboard/dust_cycle_sheet.h"

#include "engine/halvoren_engine.h"
#include "ui/components/hold_button.h"
#include "ui/components/sheet_dialog.h"
#include "ui/panel/panel_buttons.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/glass.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace halvoren {

namespace {

constexpr int textWidth = 364;

} // namespace

DustCycleSheet::DustCycleSheet(HalvorenEngine& engine, QWidget* parent)
    : SheetDialog(parent)
    , start_(new HoldButton(QStringLiteral("Hold to Start"), holdSeconds, this))
    , cancel_(new FooterButton(QStringLiteral("Cancel"), std::string(), this)) {
    setWindowTitle(QStringLiteral("Dust Cycle"));
    setAttribute(Qt::WA_TranslucentBackground);
    setWindowModality(Qt::WindowModal);
    auto* column = new QVBoxLayout(this);
    column->setSizeConstraint(QLayout::SetFixedSize);
    column->setContentsMargins(28, 24, 28, 22);
    column->setSpacing(10);
    column->addWidget(
        textLabel(QStringLiteral("Dust Cycle"), theme::FontRole::dialogTitle, true, this, textWidth));
    column->addWidget(
        textLabel(QStringLiteral("Pulses the fans through five spin-up / spin-down cycles (~25 seconds) "
                                 "to shake loose surface dust."),
                  theme::FontRole::body, true, this, textWidth));
    column->addWidget(
        textLabel(QStringLiteral("Ends automatically and returns to your current mode. Not a substitute "
                                 "for physically cleaning vents."),
                  theme::FontRole::body, false, this, textWidth));
    column->addSpacing(8);
    auto* buttons = new QHBoxLayout();
    buttons->addWidget(cancel_);
    buttons->addStretch(1);
    buttons->addWidget(start_);
    column->addLayout(buttons);
    column->addWidget(
        textLabel(QStringLiteral("Press and hold: a deliberate act, like the hardware it commands."),
                  theme::FontRole::captionSmall, false, this, textWidth));
    start_->setAccent(theme::accentColor(engine.accentChoice().value()));
    start_->setAccessibleDescription(QStringLiteral("Start Dust Cycle"));
    start_->setMinimumWidth(170);
    QObject::connect(cancel_, &QAbstractButton::clicked, this, &QDialog::reject);
    start_->setOnCompleted([this, &engine] {
        engine.startDustCycle();
        accept();
    });
}

} // namespace halvoren
