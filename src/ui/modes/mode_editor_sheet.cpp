#include "ui/modes/mode_editor_sheet.h"

#include "engine/halvoren_engine.h"
#include "ui/components/glass_controls.h"
#include "ui/components/sheet_dialog.h"
#include "ui/modes/mode_controls.h"
#include "ui/panel/panel_buttons.h"
#include "ui/panel/speed_slider.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPainter>
#include <QVBoxLayout>
#include <cmath>

namespace halvoren {

namespace {

constexpr int sheetWidth = 420;

QLabel* label(const QString& words, theme::FontRole role, bool primary, QWidget* parent) {
    return textLabel(words, role, primary, parent);
}

// A section's small capitals caption, as the cards title theirs.
QLabel* heading(const QString& words, QWidget* parent) {
    QLabel* made = label(words, theme::FontRole::caption, false, parent);
    QFont font = made->font();
    font.setCapitalization(QFont::AllUppercase);
    made->setFont(font);
    return made;
}

// A soft capsule on the sheet rather than the platform's white boxes.
QString fieldStyle() {
    const bool dark = theme::currentAppearance() == theme::Appearance::dark;
    const QString ink = theme::primaryColor(theme::currentAppearance()).name();
    const QString popup = theme::cardBackground(theme::currentAppearance()).name();
    return QStringLiteral(
               "QLineEdit, QComboBox { border-radius: 8px; padding: 5px 10px; "
               "border: 1px solid rgba(%1, %1, %1, 0.14); background: rgba(%1, %1, %1, %2); "
               "color: %3; }"
               "QLineEdit:focus, QComboBox:focus { border: 1px solid %5; }"
               "QComboBox::drop-down { border: none; width: 28px; } QComboBox::down-arrow { image: none; }"
               "QComboBox QAbstractItemView { background: %4; color: %3; border-radius: 8px; "
               "selection-background-color: %5; selection-color: white; padding: 4px; "
               "outline: none; }")
        .arg(dark ? 255 : 0)
        .arg(dark ? 0.08 : 0.05)
        .arg(ink, popup);
}

PickerBox* picker(const std::vector<modes::ModePickerBoxOption>& options, const QString& name,
                  const QString& style, QWidget* parent) {
    auto* made = new PickerBox(parent);
    made->setView(new QListView(made)); // lets the style sheet reach the popup's rows
    made->setStyleSheet(style);
    made->setAccessibleName(name);
    made->setFont(theme::font(theme::FontRole::body));
    made->setMaxVisibleItems(14);
    for (const modes::ModePickerBoxOption& option : options) {
        made->addItem(option.label, QString::fromStdString(option.id));
    }
    return made;
}

} // namespace

ModeEditorSheet::ModeEditorSheet(HalvorenEngine& engine, const std::optional<CustomMode>& editing,
                                 OnSave onSave, QWidget* parent)
    : SheetDialog(parent)
    , onSave_(std::move(onSave))
    , isEditing_(editing.has_value())
    , fields_(modes::editorSeed(editing))
    , triggerOptions_(modes::triggerOptions(engine.deviceSensorsDisplay().value()))
    , displayOptions_(modes::displayOptions(engine.deviceSensorsDisplay().value()))
    , title_(label(isEditing_ ? QStringLiteral("Edit Mode") : QStringLiteral("New Mode"),
                   theme::FontRole::dialogTitle, true, this))
    , name_(new QLineEdit(fields_.name, this))
    , style_(new PresetTabs(this))
    , slider_(new SpeedSlider(this))
    , sliderLabel_(label(QString(), theme::FontRole::body, true, this))
    , sliderValue_(label(QString(), theme::FontRole::rowValue, true, this))
    , speedNote_(label(QString(), theme::FontRole::caption, false, this))
    , readout_(new ToggleSwitch(QStringLiteral("Also show this on the Dashboard and menu bar"), this))
    , cancel_(new FooterButton(QStringLiteral("Cancel"), std::string(), this))
    , save_(new ActionButton(QStringLiteral("Save"), ActionButton::Style::prominent, this)) {
    setWindowTitle(title_->text());
    setAttribute(Qt::WA_TranslucentBackground);
    setWindowModality(Qt::WindowModal);
    const QColor accent = theme::accentColor(engine.accentChoice().value());
    const QString style = fieldStyle().arg(accent.name());

    auto* column = new QVBoxLayout(this);
    column->setSizeConstraint(QLayout::SetFixedSize);
    column->setContentsMargins(26, 22, 26, 20);
    column->setSpacing(6);
    title_->setFixedWidth(sheetWidth);
    column->addWidget(title_);
    column->addSpacing(8);
    const auto section = [&](const QString& words) {
        column->addSpacing(8);
        column->addWidget(heading(words, this));
    };
    const auto note = [&](const QString& words) {
        QLabel* made = label(words, theme::FontRole::caption, false, this);
        made->setFixedWidth(sheetWidth);
        column->addWidget(made);
    };

    section(QStringLiteral("Name"));
    name_->setPlaceholderText(QStringLiteral("Name"));
    name_->setAccessibleName(QStringLiteral("Name"));
    name_->setStyleSheet(style);
    name_->setFont(theme::font(theme::FontRole::body));
    QObject::connect(name_, &QLineEdit::textChanged, this, [this](const QString& text) {
        fields_.name = text;
        refreshSave();
    });
    column->addWidget(name_);

    section(QStringLiteral("Symbol"));
    auto* grid = new QGridLayout();
    grid->setHorizontalSpacing(14);
    for (const std::string_view symbol : CustomMode::curatedSymbolNames) {
        auto* swatch = new SymbolSwatch(std::string(symbol), this);
        swatch->setAccent(accent);
        swatch->setChecked(fields_.symbolName == symbol);
        QObject::connect(swatch, &QAbstractButton::clicked, this,
                         [this, swatch] { fields_.symbolName = swatch->symbol(); });
        grid->addWidget(swatch, 0, static_cast<int>(swatches_.size()));
        swatches_.push_back(swatch);
    }
    grid->setColumnStretch(static_cast<int>(swatches_.size()), 1);
    column->addLayout(grid);

    section(QStringLiteral("Speed"));
    auto* tabRow = new QHBoxLayout(style_);
    tabRow->setContentsMargins(0, 0, 0, 0);
    tabRow->setSpacing(0);
    for (const bool fixed : {false, true}) {
        auto* tab = style_->addTab(
            new PresetTabButton(fixed ? QStringLiteral("Fixed speed") : QStringLiteral("Minimum speed"),
                                std::string(), QString()));
        tabRow->addWidget(tab);
        QObject::connect(tab, &QAbstractButton::clicked, this, [this, fixed] { setFixedSpeed(fixed); });
    }
    style_->setAccent(accent);
    style_->setAccessibleName(QStringLiteral("Speed Style"));
    style_->setFixedWidth(sheetWidth);
    column->addWidget(style_);
    auto* sliderTop = new QHBoxLayout();
    sliderTop->addWidget(sliderLabel_, 1);
    sliderTop->addWidget(sliderValue_);
    column->addSpacing(4);
    column->addLayout(sliderTop);
    slider_->setRange(0, 100);
    slider_->setAccent(accent);
    slider_->setValue(
        static_cast<int>(std::isfinite(fields_.percentage) ? std::lround(fields_.percentage * 100.0) : 0));
    // Connected after seeding, so an untouched slider keeps a stored value that is finer than a step.
    QObject::connect(slider_, &QAbstractSlider::valueChanged, this, [this](int value) {
        fields_.percentage = value / 100.0;
        refreshSpeed();
    });
    column->addWidget(slider_);
    speedNote_->setFixedWidth(sheetWidth);
    column->addWidget(speedNote_);

    section(QStringLiteral("Trigger Sensor"));
    trigger_ = picker(triggerOptions_, QStringLiteral("Trigger Sensor"), style, this);
    // A stored sensor the machine no longer lists selects no row, and stays until another is picked.
    const std::optional<std::size_t> triggerRow = modes::optionIndex(triggerOptions_, fields_.controlSensor);
    trigger_->setCurrentIndex(triggerRow ? static_cast<int>(*triggerRow) : -1);
    QObject::connect(trigger_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (auto picked =
                modes::sensorForOption(trigger_->itemData(index).toString().toStdString(), triggerOptions_)) {
            fields_.controlSensor = *picked;
        }
    });
    column->addWidget(trigger_);
    note(QStringLiteral("Fans respond to this sensor while the mode is engaged."));

    section(QStringLiteral("Display Sensor"));
    display_ = picker(displayOptions_, QStringLiteral("Display Sensor"), style, this);
    display_->setCurrentIndex(
        static_cast<int>(modes::optionIndex(displayOptions_, fields_.displaySensorChoice).value_or(0)));
    QObject::connect(display_, &QComboBox::currentIndexChanged, this, [this](int index) {
        fields_.displaySensorChoice =
            modes::sensorForOption(display_->itemData(index).toString().toStdString(), displayOptions_);
    });
    column->addWidget(display_);
    note(QStringLiteral(
        "Shown on this mode's row below, and on the Dashboard/menu bar if Main Readout is on."));
    readout_->setAccent(accent);
    readout_->setChecked(fields_.drivesMainReadout);
    QObject::connect(readout_, &QAbstractButton::toggled, this,
                     [this](bool on) { fields_.drivesMainReadout = on; });
    auto* readoutRow = new QHBoxLayout();
    QLabel* readoutLabel = label(readout_->accessibleName(), theme::FontRole::body, true, this);
    readoutLabel->setBuddy(readout_);
    readoutRow->addWidget(readoutLabel, 1);
    readoutRow->addWidget(readout_, 0, Qt::AlignRight | Qt::AlignVCenter);
    column->addLayout(readoutRow);

    column->addSpacing(12);
    auto* buttons = new QHBoxLayout();
    buttons->addStretch(1);
    buttons->addWidget(cancel_);
    buttons->addWidget(save_);
    column->addLayout(buttons);
    save_->setAccent(accent);
    QObject::connect(cancel_, &QAbstractButton::clicked, this, &QDialog::reject);
    QObject::connect(save_, &QAbstractButton::clicked, this, [this] { save(); });
    QObject::connect(name_, &QLineEdit::returnPressed, this, [this] { save(); });

    // Top to bottom, as the sections read.
    std::vector<QWidget*> chain{name_};
    chain.insert(chain.end(), swatches_.begin(), swatches_.end());
    chain.insert(chain.end(), style_->tabs().begin(), style_->tabs().end());
    chain.insert(chain.end(), {slider_, trigger_, display_, readout_, cancel_, save_});
    for (std::size_t i = 1; i < chain.size(); ++i) {
        setTabOrder(chain[i - 1], chain[i]);
    }
    setFixedSpeed(fields_.isFixedSpeed);
    refreshSave();
    name_->setFocus();
}

void ModeEditorSheet::setFixedSpeed(bool fixed) {
    fields_.isFixedSpeed = fixed;
    style_->setCurrent(fixed ? 1 : 0);
    refreshSpeed();
}

void ModeEditorSheet::refreshSpeed() {
    const bool fixed = fields_.isFixedSpeed;
    sliderLabel_->setText(fixed ? QStringLiteral("Fixed speed") : QStringLiteral("Minimum speed"));
    slider_->setAccessibleName(sliderLabel_->text());
    sliderValue_->setText(modes::percentText(fields_.percentage));
    speedNote_->setText(
        fixed ? QStringLiteral("Fans hold this speed. They still rise if your Mac overheats.")
              : QStringLiteral("Fans never drop below this. They still speed up if your Mac gets hot."));
}

void ModeEditorSheet::refreshSave() {
    save_->setEnabled(!modes::trimmedName(fields_.name).isEmpty());
}

void ModeEditorSheet::save() {
    if (!save_->isEnabled()) {
        return;
    }
    const CustomMode mode = modes::savedMode(fields_);
    if (onSave_) {
        onSave_(mode);
    }
    accept();
}

} // namespace halvoren
