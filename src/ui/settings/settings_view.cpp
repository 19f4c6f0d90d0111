#include "ui/settings/settings_view.h"

#include "core/preset_profiles.h"
#include "engine/halvoren_engine.h"
#include "platform/login_item.h"
#include "ui/components/content_column.h"
#include "ui/components/module_card.h"
#include "ui/components/thin_scroller.h"
#include "ui/panel/speed_slider.h"
#include "ui/settings/settings_controls.h"
#include "ui/settings/settings_values.h"
#include "ui/theme/backdrop.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QTimeEdit>
#include <QVBoxLayout>
#include <cmath>

namespace halvoren {

namespace {

constexpr int maximumContentWidth = 760;

int fine(double value) {
    return static_cast<int>(std::lround(value * SettingsView::fineScale));
}

double unfine(int value) {
    return static_cast<double>(value) / SettingsView::fineScale;
}

void setSliderQuietly(SpeedSlider& slider, int value) {
    const QSignalBlocker block(slider);
    slider.setValue(value);
}

// One accent choice: a filled circle, ringed while it is the chosen one.
class AccentSwatch : public AccentButton {
public:
    AccentSwatch(AccentChoice choice, QWidget* parent)
        : AccentButton(parent)
        , choice_(choice) {
        setCheckable(true);
        setAccessibleName(QString::fromUtf8(theme::displayName(choice)));
        setToolTip(accessibleName());
        setFixedSize(24, 24);
        setAccent(theme::accentColor(choice));
    }
    AccentChoice choice() const { return choice_; }

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override {
        const QRectF dot = rect.adjusted(3, 3, -3, -3);
        painter.setPen(QPen(QColor(0, 0, 0, 30), 0.75));
        painter.setBrush(hoverLightened(accent(), isHovered()));
        painter.drawEllipse(dot);
        if (isChecked()) {
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(theme::primaryColor(theme::currentAppearance()), 1.5));
            painter.drawEllipse(rect.adjusted(0.75, 0.75, -0.75, -0.75));
            painter.setPen(Qt::NoPen);
            painter.setBrush(Qt::white);
            painter.drawEllipse(dot.center(), 3.0, 3.0);
        }
        paintFocusRing(painter, rect, rect.height() / 2.0);
    }

private:
    AccentChoice choice_;
};

} // namespace

// One category's alert: its switch, and while enabled a threshold slider and Auto-boost.
struct SettingsView::AlertRow {
    SensorCategory category;
    ToggleSwitch* enabled;
    QWidget* details;
    SpeedSlider* threshold;
    QLabel* value;
    ToggleSwitch* autoBoost;
};

SettingsView::SettingsView(HalvorenEngine& engine, LoginItem& loginItem, std::optional<Updater> updater,
                           QWidget* parent)
    : QWidget(parent)
    , engine_(engine)
    , loginItem_(loginItem)
    , updater_(std::move(updater))
    , scroller_(new QScrollArea(this)) {
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    useThinScroller(*scroller_);
    auto* content = new QWidget();
    content->setAttribute(Qt::WA_TranslucentBackground);
    QVBoxLayout* column = contentColumn(*content, maximumContentWidth, QMargins(28, 8, 28, 28), 18, true);
    buildGeneral(column);
    buildFanBehavior(column);
    buildPower(column);
    buildQuietHours(column);
    buildAlerts(column);
    buildMenuBar(column);
    buildHelper(column);
    buildUpdates(column);
    buildLastError(column);
    buildRestore(column);
    column->addStretch(1);
    scroller_->setWidget(content);
    outer->addWidget(scroller_);
    refresh();
}

SettingsView::~SettingsView() = default;

ModuleCard* SettingsView::card(QVBoxLayout* column, const QString& title) {
    auto* box = new ModuleCard();
    if (!title.isEmpty()) {
        box->setTitle(title);
        box->setAccessibleName(title);
    }
    box->setFrost(engine_.glassFrost().value());
    box->setPadding(18);
    watch_.on(engine_.glassFrost(), [this, box] { box->setFrost(engine_.glassFrost().value()); });
    auto* rows = new QVBoxLayout(box);
    rows->setSpacing(10);
    column->addWidget(box);
    return box;
}

ToggleSwitch* SettingsView::addToggle(QVBoxLayout* rows, const QString& label) {
    auto* toggle = new ToggleSwitch(label);
    toggle->setAccent(theme::accentColor(engine_.accentChoice().value()));
    rows->addLayout(settings::labelledRow(label, toggle));
    toggles_[label] = toggle;
    return toggle;
}

SpeedSlider* SettingsView::addSlider(QVBoxLayout* rows, const QString& label, const QString& name, int low,
                                     int high, int labelWidth, int valueWidth) {
    auto* line = new QHBoxLayout();
    line->setSpacing(12);
    QLabel* title = settings::rowLabel(label);
    if (labelWidth > 0) {
        title->setFixedWidth(labelWidth);
    }
    line->addWidget(title);
    auto* slider = new SpeedSlider();
    slider->setRange(low, high);
    slider->setAccent(theme::accentColor(engine_.accentChoice().value()));
    slider->setAccessibleName(name);
    line->addWidget(slider, 1);
    QLabel* value = settings::rowLabel(QString());
    value->setFont(theme::font(theme::FontRole::rowValue));
    value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    value->setFixedWidth(valueWidth);
    line->addWidget(value);
    rows->addLayout(line);
    sliders_[name] = slider;
    values_[name] = value;
    return slider;
}

void SettingsView::bindToggle(ToggleSwitch* toggle, const Observable<bool>& field,
                              std::function<void(bool)> write) {
    QObject::connect(toggle, &QAbstractButton::toggled, this, [this, write = std::move(write)](bool on) {
        if (!refreshing_) {
            write(on);
        }
    });
    refreshers_.emplace_back([toggle, &field] {
        const QSignalBlocker block(toggle);
        toggle->setChecked(field.value());
    });
    watch_.on(field, [this] { refresh(); });
}

void SettingsView::buildGeneral(QVBoxLayout* column) {
    auto* rows = static_cast<QVBoxLayout*>(card(column, QStringLiteral("General"))->layout());
    ToggleSwitch* login = addToggle(rows, QStringLiteral("Start at login"));
    login->setChecked(loginItem_.isEnabled());
    QObject::connect(login, &QAbstractButton::toggled, this, [this](bool on) { setLoginItem(on); });
    loginError_ = settings::noteLabel(QString());
    loginError_->setStyleSheet(QStringLiteral("color: #FF453A;"));
    loginError_->hide();
    rows->addWidget(loginError_);
    bindToggle(addToggle(rows, QStringLiteral("Show icon in Dock")), engine_.showDockIcon(),
               [this](bool on) { engine_.setShowDockIcon(on); });
    bindToggle(addToggle(rows, QStringLiteral("Use Fahrenheit temperature scale")), engine_.useFahrenheit(),
               [this](bool on) { engine_.setUseFahrenheit(on); });
    bindToggle(addToggle(rows, QStringLiteral("Precise display (e.g. 45.4°)")), engine_.preciseTemperatures(),
               [this](bool on) { engine_.setPreciseTemperatures(on); });

    auto* swatches = new QWidget();
    auto* swatchRow = new QHBoxLayout(swatches);
    swatchRow->setContentsMargins(0, 0, 0, 0);
    swatchRow->setSpacing(8);
    std::vector<AccentSwatch*> buttons;
    for (const AccentChoice choice : allCases<AccentChoice>()) {
        auto* swatch = new AccentSwatch(choice, swatches);
        QObject::connect(swatch, &QAbstractButton::clicked, this,
                         [this, choice] { engine_.setAccentChoice(choice); });
        swatchRow->addWidget(swatch);
        buttons.push_back(swatch);
    }
    rows->addLayout(settings::labelledRow(QStringLiteral("Accent"), swatches));
    refreshers_.emplace_back([this, buttons] {
        for (AccentSwatch* swatch : buttons) {
            const QSignalBlocker block(swatch);
            swatch->setChecked(swatch->choice() == engine_.accentChoice().value());
        }
    });
    watch_.on(engine_.accentChoice(), [this] { refresh(); });
    rows->addWidget(settings::noteLabel(QStringLiteral(
        "Accent color for controls and highlights. Heat colors are reserved for temperature.")));

    auto* scenes = new PickerBox();
    scenes->setAccessibleName(QStringLiteral("Backdrop"));
    for (const BackdropScene scene : allCases<BackdropScene>()) {
        scenes->addItem(QString::fromUtf8(theme::displayName(scene)));
        scenes->setItemData(scenes->count() - 1, QString::fromUtf8(theme::summary(scene)), Qt::ToolTipRole);
    }
    QObject::connect(scenes, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!refreshing_ && index >= 0) {
            engine_.setBackdropScene(allCases<BackdropScene>().at(static_cast<std::size_t>(index)));
        }
    });
    refreshers_.emplace_back(
        [this, scenes] { scenes->setCurrentIndex(static_cast<int>(engine_.backdropScene().value())); });
    watch_.on(engine_.backdropScene(), [this] { refresh(); });
    rows->addLayout(settings::labelledRow(QStringLiteral("Backdrop"), scenes));
    pickers_[QStringLiteral("Backdrop")] = scenes;

    auto* glassLine = new QHBoxLayout();
    glassLine->setSpacing(10);
    glassLine->addWidget(settings::rowLabel(QStringLiteral("Glass")));
    glassLine->addStretch(1);
    glassLine->addWidget(settings::noteLabel(QStringLiteral("Clear")));
    auto* glass = new SpeedSlider();
    glass->setRange(0, fineScale);
    glass->setAccent(theme::accentColor(engine_.accentChoice().value()));
    glass->setAccessibleName(QStringLiteral("Glass frost"));
    glass->setFixedWidth(220);
    glassLine->addWidget(glass);
    glassLine->addWidget(settings::noteLabel(QStringLiteral("Frosted")));
    rows->addLayout(glassLine);
    sliders_[QStringLiteral("Glass frost")] = glass;
    QObject::connect(glass, &QAbstractSlider::valueChanged, this,
                     [this](int value) { engine_.setGlassFrost(unfine(value)); });
    refreshers_.emplace_back([this, glass] {
        setSliderQuietly(*glass, fine(engine_.glassFrost().value()));
        glass->setAccessibleDescription(settings::glassAccessibleValue(engine_.glassFrost().value()));
    });
    watch_.on(engine_.glassFrost(), [this] { refresh(); });
}

void SettingsView::buildFanBehavior(QVBoxLayout* column) {
    auto* rows = static_cast<QVBoxLayout*>(card(column, QStringLiteral("Fan Behavior"))->layout());
    SpeedSlider* smoothing = addSlider(rows, QStringLiteral("Smoothing"), QStringLiteral("Smoothing"),
                                       fine(0.05), fine(1.0), 90, 80);
    QObject::connect(smoothing, &QAbstractSlider::valueChanged, this,
                     [this](int value) { engine_.setAcousticAlpha(unfine(value)); });
    SpeedSlider* spool =
        addSlider(rows, QStringLiteral("Spool rate"), QStringLiteral("Spool rate"), 120, 9000, 90, 100);
    QObject::connect(spool, &QAbstractSlider::valueChanged, this,
                     [this](int value) { engine_.setSpoolRate(value); });
    refreshers_.emplace_back([this, smoothing, spool] {
        setSliderQuietly(*smoothing, fine(engine_.acousticAlpha().value()));
        values_[QStringLiteral("Smoothing")]->setText(
            settings::smoothingLabel(engine_.acousticAlpha().value()));
        setSliderQuietly(*spool, static_cast<int>(std::lround(engine_.spoolRate().value())));
        values_[QStringLiteral("Spool rate")]->setText(settings::spoolLabel(engine_.spoolRate().value()));
    });
    watch_.on(engine_.acousticAlpha(), [this] { refresh(); });
    watch_.on(engine_.spoolRate(), [this] { refresh(); });
    rows->addWidget(settings::noteLabel(
        QStringLiteral("Lower values are smoother and quieter; higher values react faster.")));
    bindToggle(addToggle(rows, QStringLiteral("Pre-spool on rising heat")), engine_.preSpoolEnabled(),
               [this](bool on) { engine_.setPreSpoolEnabled(on); });

    auto* cooldown = new PickerBox();
    cooldown->setAccessibleName(QStringLiteral("Cooldown duration"));
    for (std::size_t i = 0; i < settings::cooldownMinutes.size(); ++i) {
        cooldown->addItem(settings::cooldownOption(i).label);
    }
    QObject::connect(cooldown, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!refreshing_ && index >= 0) {
            engine_.setCooldownDuration(settings::cooldownOption(static_cast<std::size_t>(index)).seconds());
        }
    });
    refreshers_.emplace_back([this, cooldown] {
        const std::optional<std::size_t> index = settings::cooldownIndex(engine_.cooldownDuration().value());
        cooldown->setCurrentIndex(index ? static_cast<int>(*index) : -1);
    });
    watch_.on(engine_.cooldownDuration(), [this] { refresh(); });
    rows->addLayout(settings::labelledRow(QStringLiteral("Cooldown duration"), cooldown));
    pickers_[QStringLiteral("Cooldown duration")] = cooldown;
}

void SettingsView::buildPower(QVBoxLayout* column) {
    auto* rows = static_cast<QVBoxLayout*>(card(column, QStringLiteral("Power"))->layout());
    // No row for Max: it always runs at full range.
    for (const auto& entry : {std::pair{FanPreset::quiet, QStringLiteral("Quiet")},
                              std::pair{FanPreset::auto_, QStringLiteral("Balanced")}}) {
        const FanPreset preset = entry.first;
        const QString title = entry.second;
        QLabel* heading = settings::rowLabel(title);
        heading->setFont(theme::font(theme::FontRole::bodyEmphasis));
        rows->addWidget(heading);
        const auto source = [this, rows, preset, title](bool ac) {
            const QString name = title + (ac ? QStringLiteral(" on AC") : QStringLiteral(" on battery"));
            // The view keeps a cap at 10 % or more, though the engine would take 0.
            SpeedSlider* slider = addSlider(rows, ac ? QStringLiteral("On AC") : QStringLiteral("On battery"),
                                            name, fine(0.1), fine(1.0), 84, 80);
            QObject::connect(slider, &QAbstractSlider::valueChanged, this, [this, preset, ac](int value) {
                if (ac) {
                    engine_.setPresetCap(preset, unfine(value), std::nullopt);
                } else {
                    engine_.setPresetCap(preset, std::nullopt, unfine(value));
                }
            });
            refreshers_.emplace_back([this, slider, name, preset, ac] {
                const PresetPowerCaps caps = capsFor(preset, engine_.presetPowerCaps().value());
                const double cap = ac ? caps.ac : caps.battery;
                setSliderQuietly(*slider, fine(cap));
                values_[name]->setText(settings::capLabel(cap));
            });
        };
        source(true);
        source(false);
    }
    watch_.on(engine_.presetPowerCaps(), [this] { refresh(); });
    rows->addWidget(settings::noteLabel(QStringLiteral("Max always runs at 100%.")));
    bindToggle(addToggle(rows, QStringLiteral("Switch to the quiet curve on battery")),
               engine_.autoSwitchOnBattery(), [this](bool on) { engine_.setAutoSwitchOnBattery(on); });
}

void SettingsView::buildQuietHours(QVBoxLayout* column) {
    auto* rows = static_cast<QVBoxLayout*>(card(column, QStringLiteral("Quiet Hours"))->layout());
    bindToggle(addToggle(rows, QStringLiteral("Automatically switch to Quiet")), engine_.quietHoursEnabled(),
               [this](bool on) { engine_.setQuietHoursEnabled(on); });
    const auto timeRow = [this, rows](const QString& label, const Observable<int>& field,
                                      std::function<void(int)> write) {
        auto* edit = new QTimeEdit();
        settings::styleTimeEdit(*edit);
        edit->setAccessibleName(label);
        QObject::connect(edit, &QTimeEdit::timeChanged, this,
                         [this, write = std::move(write)](const QTime& time) {
                             if (!refreshing_) {
                                 write(settings::minutesOfDay(time));
                             }
                         });
        refreshers_.emplace_back([edit, &field] {
            const QSignalBlocker block(edit);
            edit->setTime(settings::timeFromMinutesOfDay(field.value()));
        });
        watch_.on(field, [this] { refresh(); });
        rows->addLayout(settings::labelledRow(label, edit));
        return edit;
    };
    quietFrom_ = timeRow(QStringLiteral("From"), engine_.quietHoursStart(),
                         [this](int minutes) { engine_.setQuietHoursStart(minutes); });
    quietUntil_ = timeRow(QStringLiteral("Until"), engine_.quietHoursEnd(),
                          [this](int minutes) { engine_.setQuietHoursEnd(minutes); });
    bindToggle(addToggle(rows, QStringLiteral("Quiet during meetings")), engine_.meetingQuietEnabled(),
               [this](bool on) { engine_.setMeetingQuietEnabled(on); });
    rows->addWidget(settings::noteLabel(QStringLiteral("Manual control and Turbo are never interrupted.")));
}

void SettingsView::buildAlerts(QVBoxLayout* column) {
    auto* rows = static_cast<QVBoxLayout*>(card(column, QStringLiteral("Alerts"))->layout());
    for (const SensorCategory category : allCases<SensorCategory>()) {
        const QString name = QString::fromUtf8(displayName(category));
        auto row = std::make_unique<AlertRow>();
        row->category = category;
        row->enabled = addToggle(rows, name);
        row->details = new QWidget();
        auto* details = new QVBoxLayout(row->details);
        details->setContentsMargins(16, 0, 0, 4);
        details->setSpacing(8);
        row->threshold = addSlider(details, QStringLiteral("Threshold"), name + QStringLiteral(" threshold"),
                                   40, 110, 90, 56);
        row->value = values_[name + QStringLiteral(" threshold")];
        row->autoBoost = addToggle(details, QStringLiteral("Auto-boost"));
        row->autoBoost->setAccessibleName(name + QStringLiteral(" Auto-boost"));
        toggles_[name + QStringLiteral(" Auto-boost")] = row->autoBoost;
        toggles_.erase(QStringLiteral("Auto-boost"));
        rows->addWidget(row->details);
        QObject::connect(row->enabled, &QAbstractButton::toggled, this, [this, category](bool on) {
            if (!refreshing_) {
                engine_.setAlertRule(category, on, std::nullopt, std::nullopt);
            }
        });
        QObject::connect(row->threshold, &QAbstractSlider::valueChanged, this, [this, category](int value) {
            engine_.setAlertRule(category, std::nullopt, value, std::nullopt);
        });
        QObject::connect(row->autoBoost, &QAbstractButton::toggled, this, [this, category](bool on) {
            if (!refreshing_) {
                engine_.setAlertRule(category, std::nullopt, std::nullopt, on);
            }
        });
        refreshers_.emplace_back([this, at = row.get()] {
            const AlertRule rule = settings::alertRuleFor(engine_.alertRules().value(), at->category);
            const QSignalBlocker blockEnabled(at->enabled);
            const QSignalBlocker blockBoost(at->autoBoost);
            at->enabled->setChecked(rule.enabled);
            at->details->setVisible(rule.enabled);
            setSliderQuietly(*at->threshold, static_cast<int>(std::lround(rule.thresholdCelsius)));
            at->value->setText(settings::celsiusLabel(rule.thresholdCelsius));
            at->autoBoost->setChecked(rule.autoBoost);
        });
        alertRows_.push_back(std::move(row));
    }
    watch_.on(engine_.alertRules(), [this] { refresh(); });
    rows->addWidget(settings::noteLabel(
        QStringLiteral("Auto-boost runs fans at maximum while that group is over its threshold.")));
    bindToggle(addToggle(rows, QStringLiteral("Warn about fan problems")), engine_.fanHealthWarningsEnabled(),
               [this](bool on) { engine_.setFanHealthWarningsEnabled(on); });
    SpeedSlider* threshold =
        addSlider(rows, QStringLiteral("Threshold"), QStringLiteral("Threshold"), 50, 100, 90, 56);
    QObject::connect(threshold, &QAbstractSlider::valueChanged, this,
                     [this](int value) { engine_.setOverheatThreshold(value); });
    refreshers_.emplace_back([this, threshold] {
        setSliderQuietly(*threshold, static_cast<int>(std::lround(engine_.overheatThreshold().value())));
        values_[QStringLiteral("Threshold")]->setText(
            settings::celsiusLabel(engine_.overheatThreshold().value()));
    });
    watch_.on(engine_.overheatThreshold(), [this] { refresh(); });
    rows->addWidget(settings::noteLabel(
        QStringLiteral("One global threshold, checked against the hottest sensor anywhere.")));
}

void SettingsView::buildMenuBar(QVBoxLayout* column) {
    auto* rows = static_cast<QVBoxLayout*>(card(column, QStringLiteral("Menu Bar"))->layout());
    const auto picker = [this, rows](const QString& label, const QStringList& titles,
                                     std::function<int()> read, std::function<void(int)> write) {
        auto* box = new PickerBox();
        box->setAccessibleName(label);
        box->addItems(titles);
        QObject::connect(box, &QComboBox::currentIndexChanged, this,
                         [this, write = std::move(write)](int index) {
                             if (!refreshing_ && index >= 0) {
                                 write(index);
                             }
                         });
        refreshers_.emplace_back([box, read = std::move(read)] { box->setCurrentIndex(read()); });
        rows->addLayout(settings::labelledRow(label, box));
        pickers_[label] = box;
    };
    QStringList readouts;
    for (const MenuBarReadout readout : allCases<MenuBarReadout>()) {
        readouts << settings::menuBarReadoutLabel(readout);
    }
    picker(
        QStringLiteral("Show in menu bar"), readouts,
        [this] { return static_cast<int>(engine_.menuBarReadout().value()); },
        [this](int index) {
            engine_.setMenuBarReadout(allCases<MenuBarReadout>().at(static_cast<std::size_t>(index)));
        });
    watch_.on(engine_.menuBarReadout(), [this] { refresh(); });
    QStringList sources;
    for (const MenuBarTempSource source : allCases<MenuBarTempSource>()) {
        sources << settings::menuBarTempSourceLabel(source);
    }
    picker(
        QStringLiteral("Temperature source"), sources,
        [this] { return static_cast<int>(engine_.menuBarTempSource().value()); },
        [this](int index) {
            engine_.setMenuBarTempSource(allCases<MenuBarTempSource>().at(static_cast<std::size_t>(index)));
        });
    watch_.on(engine_.menuBarTempSource(), [this] { refresh(); });
    bindToggle(addToggle(rows, QStringLiteral("Animate fan icon")), engine_.menuBarIconAnimated(),
               [this](bool on) { engine_.setMenuBarIconAnimated(on); });
}

void SettingsView::buildHelper(QVBoxLayout* column) {
    auto* rows = static_cast<QVBoxLayout*>(card(column, QStringLiteral("Fan-Control Helper"))->layout());
    badge_ = new StatusBadge();
    badge_->setAccessibleName(QStringLiteral("Status"));
    auto* line = new QHBoxLayout();
    line->addWidget(settings::rowLabel(QStringLiteral("Status")));
    line->addStretch(1);
    line->addWidget(badge_);
    rows->addLayout(line);
    rows->addWidget(settings::noteLabel(
        QStringLiteral("Sensor readings work without it; controlling fan speeds requires it.")));
    refreshers_.emplace_back([this] {
        const settings::Badge badge = settings::helperStatusBadge(engine_.helperState().value());
        badge_->setContent(badge.text, badge.symbol, settings::helperTint(engine_.helperState().value()));
    });
    watch_.on(engine_.helperState(), [this] { refresh(); });
}

void SettingsView::buildUpdates(QVBoxLayout* column) {
    if (!updater_) {
        return;
    }
    updatesCard_ = card(column, QStringLiteral("Updates"));
    auto* rows = static_cast<QVBoxLayout*>(updatesCard_->layout());
    ToggleSwitch* automatic = addToggle(rows, QStringLiteral("Automatically check for updates"));
    automatic->setChecked(updater_->automaticallyChecks());
    QObject::connect(automatic, &QAbstractButton::toggled, this,
                     [this](bool on) { updater_->setAutomaticallyChecks(on); });
    auto* check = new ActionButton(QStringLiteral("Check for Updates…"), ActionButton::Style::quiet);
    QObject::connect(check, &QAbstractButton::clicked, this, [this] { updater_->checkNow(); });
    rows->addWidget(check, 0, Qt::AlignLeft);
}

void SettingsView::buildLastError(QVBoxLayout* column) {
    lastErrorCard_ = card(column, QStringLiteral("Last Error"));
    lastErrorText_ = settings::rowLabel(QString());
    lastErrorText_->setWordWrap(true);
    lastErrorText_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    lastErrorCard_->layout()->addWidget(lastErrorText_);
    refreshers_.emplace_back([this] {
        const std::optional<std::string>& error = engine_.lastError().value();
        lastErrorCard_->setVisible(error.has_value());
        lastErrorText_->setText(QString::fromStdString(error.value_or(std::string())));
    });
    watch_.on(engine_.lastError(), [this] { refresh(); });
}

void SettingsView::buildRestore(QVBoxLayout* column) {
    auto* rows = static_cast<QVBoxLayout*>(card(column, QString())->layout());
    restore_ = new ActionButton(QStringLiteral("Restore Defaults"), ActionButton::Style::quiet);
    QObject::connect(restore_, &QAbstractButton::clicked, this, [this] { engine_.restoreDefaults(); });
    rows->addWidget(restore_, 0, Qt::AlignLeft);
    rows->addWidget(settings::noteLabel(QStringLiteral(
        "Reset smoothing, spool rate, pre-spool, battery automation, meeting quiet, overheat threshold, "
        "temperature display, glass frost, backdrop, accent color, preset power caps, sensor alert rules, "
        "quiet hours, and cooldown duration to their defaults.")));
}

void SettingsView::refresh() {
    refreshing_ = true;
    const QColor accent = theme::accentColor(engine_.accentChoice().value());
    for (auto& [name, toggle] : toggles_) {
        toggle->setAccent(accent);
    }
    for (auto& [name, slider] : sliders_) {
        slider->setAccent(accent);
    }
    for (const auto& refresher : refreshers_) {
        refresher();
    }
    refreshing_ = false;
}

void SettingsView::setLoginItem(bool enabled) {
    const std::optional<std::string> error = loginItem_.setEnabled(enabled);
    loginError_->setText(QString::fromStdString(error.value_or(std::string())));
    loginError_->setVisible(error.has_value());
    if (error) {
        ToggleSwitch* toggle = toggles_.at(QStringLiteral("Start at login"));
        const QSignalBlocker block(toggle);
        toggle->setChecked(loginItem_.isEnabled());
    }
}

ToggleSwitch& SettingsView::toggle(const QString& label) const {
    return *toggles_.at(label);
}

SpeedSlider& SettingsView::slider(const QString& name) const {
    return *sliders_.at(name);
}

QComboBox& SettingsView::picker(const QString& label) const {
    return *pickers_.at(label);
}

QLabel& SettingsView::valueLabel(const QString& name) const {
    return *values_.at(name);
}

} // namespace halvoren
