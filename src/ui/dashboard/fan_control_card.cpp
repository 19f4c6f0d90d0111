#include "ui/dashboard/fan_control_card.h"

#include "core/fan_driving_status.h"
#include "engine/halvoren_engine.h"
#include "ui/components/notice_view.h"
#include "ui/dashboard/dashboard_values.h"
#include "ui/panel/panel_buttons.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/thermal_color.h"
#include "ui/weather/fan_flow_meter.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace halvoren {

namespace {

QLabel* secondaryLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setFont(theme::font(theme::FontRole::body));
    QPalette ink = label->palette();
    ink.setColor(QPalette::WindowText, theme::secondaryColor(theme::currentAppearance()));
    label->setPalette(ink);
    return label;
}

} // namespace

FanControlCard::FanControlCard(HalvorenEngine& engine, QWidget* parent)
    : ModuleCard(parent)
    , engine_(engine)
    , basedOn_(new FooterButton(QString(), "chevron.up.chevron.down", this))
    , basedOnNote_(new NoticeView(NoticeView::Style::line, "exclamationmark.triangle.fill", this))
    , modeTabs_(new PresetTabs(this))
    , empty_(new NoticeView(NoticeView::Style::emptyState, "fan.slash", this))
    , dustButton_(new FooterButton(QStringLiteral("Dust Cycle"), "wind", this))
    , dustStatus_(secondaryLabel(QString(), this))
    , dustCancel_(new FooterButton(QStringLiteral("Cancel"), std::string(), this)) {
    setTitle(QStringLiteral("Fan Control"));
    setFrost(engine_.glassFrost().value());
    setPadding(18);
    const QColor accent = theme::accentColor(engine_.accentChoice().value());

    auto* column = new QVBoxLayout(this);
    column->setSpacing(14);

    auto* sourceRow = new QHBoxLayout();
    sourceRow->addWidget(secondaryLabel(QStringLiteral("Based on"), this));
    sourceRow->addWidget(basedOn_);
    sourceRow->addStretch(1);
    basedOn_->setToolTip(QStringLiteral("The sensor that drives automatic fan response."));
    for (const auto& entry : EnumTable<ControlSource>::entries) {
        const ControlSource source = entry.first;
        QAction* action = sourceMenu_.addAction(dashboard::controlSourceLabel(source));
        action->setCheckable(true);
        action->setData(static_cast<int>(source));
        QObject::connect(action, &QAction::triggered, this,
                         [this, source] { engine_.setControlSource(source); });
    }
    QObject::connect(basedOn_, &QAbstractButton::clicked, this,
                     [this] { sourceMenu_.popup(basedOn_->mapToGlobal(QPoint(0, basedOn_->height()))); });
    column->addLayout(sourceRow);
    basedOnNote_->setText(QStringLiteral("Not available on this Mac. Using the hottest sensor instead."));
    basedOnNote_->setTint(theme::thermalColor(80.0));
    column->addWidget(basedOnNote_);

    auto* tabRow = new QHBoxLayout(modeTabs_);
    tabRow->setContentsMargins(0, 0, 0, 0);
    tabRow->setSpacing(0);
    for (const dashboard::FanModeInfo& info : dashboard::fanModes) {
        const dashboard::FanMode mode = info.mode;
        auto* tab =
            modeTabs_->addTab(new PresetTabButton(QString::fromUtf8(info.label), std::string(), QString()));
        tabRow->addWidget(tab);
        QObject::connect(tab, &QAbstractButton::clicked, this, [this, mode] {
            dashboard::selectMode(engine_, mode);
            refreshMode(); // choosing the running mode changes no field
        });
    }
    modeTabs_->setAccent(accent);
    modeTabs_->setAccessibleName(QStringLiteral("Fan mode"));
    column->addWidget(modeTabs_);

    meterRow_ = new QHBoxLayout();
    meterRow_->setSpacing(32);
    meterRow_->addStretch(1);
    column->addLayout(meterRow_);
    warningColumn_ = new QVBoxLayout();
    warningColumn_->setSpacing(4);
    column->addLayout(warningColumn_);
    empty_->setText(QStringLiteral("No fans detected"),
                    QStringLiteral("This Mac reports no controllable fans."));
    column->addWidget(empty_);

    auto* dustRow = new QHBoxLayout();
    dustButton_->setToolTip(QStringLiteral("Dust Cycle: pulse the fans to shake loose dust"));
    dustCancel_->setAccessibleName(QStringLiteral("Cancel dust cycle"));
    dustStatus_->setFont(theme::font(theme::FontRole::rowValue));
    dustRow->addWidget(dustButton_);
    dustRow->addWidget(dustStatus_);
    dustRow->addWidget(dustCancel_);
    dustRow->addStretch(1);
    QObject::connect(dustButton_, &QAbstractButton::clicked, this, [this] {
        if (onDustCycle_) {
            onDustCycle_();
        }
    });
    QObject::connect(dustCancel_, &QAbstractButton::clicked, this, [this] { engine_.cancelDustCycle(); });
    column->addLayout(dustRow);

    watch_.on(engine_.controlSource(), [this] { refreshSource(); });
    watch_.on(engine_.controlSourceUnavailable(), [this] { refreshSource(); });
    watch_.on(engine_.activeProfile(), [this] { refreshMode(); });
    watch_.on(engine_.isTurboEngaged(), [this] { refreshMode(); });
    watch_.on(engine_.manualFanTargets(), [this] {
        refreshMode();
        refreshFans();
    });
    watch_.on(engine_.fans(), [this] {
        refreshFans();
        refreshWarnings();
    });
    watch_.on(engine_.fanHealthWarnings(), [this] { refreshWarnings(); });
    watch_.on(engine_.dustCycleState(), [this] { refreshDustCycle(); });
    refreshSource();
    refreshMode();
    refreshFans();
    refreshWarnings();
    refreshDustCycle();
}

void FanControlCard::refreshSource() {
    const ControlSource source = engine_.controlSource().value();
    const QString label = dashboard::controlSourceLabel(source);
    basedOn_->setTitle(label);
    basedOn_->setAccessibleName(QStringLiteral("Based on ") + label);
    for (QAction* action : sourceMenu_.actions()) {
        action->setChecked(action->data().toInt() == static_cast<int>(source));
    }
    basedOnNote_->setVisible(engine_.controlSourceUnavailable().value());
}

void FanControlCard::refreshMode() {
    const dashboard::FanMode mode =
        dashboard::currentMode(engine_.manualFanTargets().value(), engine_.activeProfile().value(),
                               engine_.isTurboEngaged().value());
    modeTabs_->setCurrent(static_cast<int>(mode));
}

void FanControlCard::refreshFans() {
    const auto& fans = engine_.fans().value();
    if (meters_.size() != fans.size()) {
        for (FanFlowMeter* meter : meters_) {
            delete meter;
        }
        meters_.clear();
        for (std::size_t i = 0; i < fans.size(); ++i) {
            auto* meter = new FanFlowMeter(FanFlowMeter::Style::regular, this);
            meter->setAccent(theme::accentColor(engine_.accentChoice().value()));
            meter->setOnManualTarget([this](int fan, double rpm) { engine_.setFanTarget(fan, rpm); });
            // Room for a four-digit speed and its unit.
            meter->setMinimumWidth(190);
            meter->setMaximumWidth(300);
            meterRow_->insertWidget(static_cast<int>(i), meter);
            meters_.push_back(meter);
        }
    }
    const std::vector<int> ids = sortedFanIDs(fans);
    const auto& manual = engine_.manualFanTargets().value();
    std::size_t index = 0;
    for (const auto& [id, fan] : fans) {
        FanFlowMeter* meter = meters_[index++];
        meter->setFan(fan, ids);
        const auto target = manual.find(id);
        meter->setManualTarget(target == manual.end() ? std::nullopt : std::optional(target->second));
    }
    empty_->setVisible(fans.empty());
    dustButton_->setEnabled(!fans.empty());
}

void FanControlCard::refreshWarnings() {
    for (NoticeView* warning : warnings_) {
        delete warning;
    }
    warnings_.clear();
    const auto& fans = engine_.fans().value();
    const std::vector<int> ids = sortedFanIDs(fans);
    for (const auto& [id, warning] : engine_.fanHealthWarnings().value()) {
        const dashboard::FanWarningText text = dashboard::fanWarningText(warning);
        auto* line = new NoticeView(NoticeView::Style::line, "exclamationmark.triangle.fill", this);
        const QString name = QString::fromStdString(fanDisplayName(id, ids));
        line->setText(name + QStringLiteral(" \u2014 ") + text.text, text.help);
        line->setToolTip(text.help);
        line->setTint(theme::thermalColor(85.0));
        warningColumn_->addWidget(line);
        warnings_.push_back(line);
    }
}

void FanControlCard::refreshDustCycle() {
    const std::optional<QString> running = dashboard::dustCycleRunningText(engine_.dustCycleState().value());
    dustButton_->setVisible(!running);
    dustStatus_->setVisible(running.has_value());
    dustCancel_->setVisible(running.has_value());
    dustStatus_->setText(running.value_or(QString()));
}

} // namespace halvoren
