#include "ui/modes/modes_view.h"

#include "engine/halvoren_engine.h"
#include "ui/components/content_column.h"
#include "ui/components/glass_controls.h"
#include "ui/components/module_card.h"
#include "ui/components/notice_view.h"
#include "ui/components/thin_scroller.h"
#include "ui/modes/mode_controls.h"
#include "ui/modes/mode_delete_dialog.h"
#include "ui/modes/mode_editor_sheet.h"
#include "ui/modes/mode_row.h"
#include "ui/modes/mode_values.h"
#include "ui/panel/panel_buttons.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QVBoxLayout>

namespace halvoren {

namespace {

constexpr int maximumContentWidth = 1180;

QString noFansText() {
    return QStringLiteral("This Mac has no controllable fans.");
}

void setInk(QLabel& label, const QColor& ink) {
    QPalette palette = label.palette();
    palette.setColor(QPalette::WindowText, ink);
    label.setPalette(palette);
}

// Puts a dialog over the middle of the window it belongs to.
void presentCentred(QDialog& dialog, QWidget& over) {
    dialog.setAttribute(Qt::WA_DeleteOnClose);
    dialog.open();
    dialog.adjustSize();
    QWidget* window = over.window();
    dialog.move(window->geometry().center() - dialog.rect().center());
}

} // namespace

ModesView::ModesView(HalvorenEngine& engine, QWidget* parent)
    : QWidget(parent)
    , engine_(engine)
    , add_(new FooterButton(QStringLiteral("Add Mode"), "plus", this))
    , noFans_(new NoticeView(NoticeView::Style::line, "fan.slash", this))
    , empty_(new ModuleCard(this))
    , newMode_(new ActionButton(QStringLiteral("New Custom Mode…"), ActionButton::Style::prominent))
    , scroller_(new QScrollArea(this))
    , list_(new ModuleCard())
    , listColumn_(new QVBoxLayout(list_)) {
    const QColor accent = theme::accentColor(engine_.accentChoice().value());
    const theme::Appearance look = theme::currentAppearance();
    QVBoxLayout* column = contentColumn(*this, maximumContentWidth, QMargins(28, 8, 18, 0), 12);

    add_->setAccent(accent);
    add_->setAccessibleName(QStringLiteral("Add a custom mode"));
    add_->setToolTip(add_->accessibleName());
    // Hidden until the section is on screen; the window gives it a place in its toolbar.
    add_->hide();
    QObject::connect(add_, &QAbstractButton::clicked, this, [this] { openEditor(std::nullopt); });
    noFans_->setText(noFansText());
    column->addWidget(noFans_);

    empty_->setFrost(engine_.glassFrost().value());
    empty_->setPadding(24);
    auto* emptyColumn = new QVBoxLayout(empty_);
    emptyColumn->setSpacing(10);
    auto* emptyHead = new NoticeView(NoticeView::Style::emptyState, "square.grid.2x2.fill", empty_);
    emptyHead->setText(QStringLiteral("No custom modes yet"));
    emptyHead->setFixedHeight(76);
    emptyColumn->addWidget(emptyHead);
    auto* pitch =
        new QLabel(QStringLiteral("A custom mode is one tap for a fan speed you pick. Gaming holds the fans "
                                  "at 70%. Start from a template, or build your own."),
                   empty_);
    pitch->setWordWrap(true);
    pitch->setAlignment(Qt::AlignHCenter);
    pitch->setFont(theme::font(theme::FontRole::body));
    pitch->setFixedWidth(440);
    // Laid out centred, the label is not asked its height for the width; give it the wrapped height.
    pitch->setFixedHeight(pitch->heightForWidth(440));
    setInk(*pitch, theme::secondaryColor(look));
    emptyColumn->addWidget(pitch, 0, Qt::AlignHCenter);
    emptyColumn->addSpacing(6);
    auto* starterRow = new QHBoxLayout();
    starterRow->setSpacing(8);
    starterRow->addStretch(1);
    for (const CustomMode& starter : CustomMode::templates()) {
        auto* button = new FooterButton(modes::starterTitle(starter), starter.symbolName, empty_);
        button->setAccent(accent);
        button->setAccessibleName(modes::starterAccessibleText(starter));
        button->setToolTip(button->accessibleName());
        QObject::connect(button, &QAbstractButton::clicked, this,
                         [this, &starter] { engine_.addCustomMode(modes::starterMode(starter)); });
        starterRow->addWidget(button);
        starters_.push_back(button);
    }
    starterRow->addStretch(1);
    emptyColumn->addLayout(starterRow);
    newMode_->setParent(empty_);
    newMode_->setAccent(accent);
    QObject::connect(newMode_, &QAbstractButton::clicked, this, [this] { openEditor(std::nullopt); });
    emptyColumn->addWidget(newMode_, 0, Qt::AlignHCenter);
    useThinScroller(*scroller_);
    auto* content = new QWidget();
    content->setAttribute(Qt::WA_TranslucentBackground);
    auto* stack = new QVBoxLayout(content);
    stack->setContentsMargins(0, 0, 10, 28);
    list_->setFrost(engine_.glassFrost().value());
    list_->setPadding(8);
    listColumn_->setSpacing(4);
    empty_->setParent(content);
    stack->addWidget(empty_);
    stack->addWidget(list_);
    stack->addStretch(1);
    scroller_->setWidget(content);
    scroller_->setWidgetResizable(true);
    column->addWidget(scroller_, 1);

    watch_.on(engine_.customModes(), [this] { rebuildRows(); });
    watch_.on(engine_.fans(), [this] { refresh(); });
    watch_.on(engine_.activeCustomModeID(), [this] { refresh(); });
    watch_.on(engine_.deviceSensors(), [this] { refresh(); });
    watch_.on(engine_.deviceSensorsDisplay(), [this] { refresh(); });
    watch_.on(engine_.useFahrenheit(), [this] { refresh(); });
    watch_.on(engine_.preciseTemperatures(), [this] { refresh(); });
    rebuildRows();
}

void ModesView::showEvent(QShowEvent* event) {
    onScreen_ = true;
    refresh();
    QWidget::showEvent(event);
}

void ModesView::hideEvent(QHideEvent* event) {
    onScreen_ = false;
    refresh();
    QWidget::hideEvent(event);
}

ModeEditorSheet* ModesView::editor() const {
    return editor_;
}

ModeDeleteDialog* ModesView::deleteDialog() const {
    return deleteDialog_;
}

void ModesView::rebuildRows() {
    const std::size_t wanted = engine_.customModes().value().size();
    while (rows_.size() > wanted) {
        delete rows_.back();
        rows_.pop_back();
    }
    const QColor accent = theme::accentColor(engine_.accentChoice().value());
    while (rows_.size() < wanted) {
        auto* row = new ModeRow(list_);
        row->setAccent(accent);
        const std::size_t index = rows_.size();
        // The row's mode is read at the click, so a reused row acts on what it now shows.
        row->setOnEngage([this, row] { engine_.selectCustomMode(row->content().mode.id); });
        row->setOnEdit([this, row] { openEditor(row->content().mode); });
        row->setOnDelete([this, row] { confirmDelete(row->content().mode); });
        listColumn_->insertWidget(static_cast<int>(index), row);
        rows_.push_back(row);
    }
    refresh();
}

void ModesView::refresh() {
    const std::vector<CustomMode>& modes = engine_.customModes().value();
    const bool hasFans = !engine_.fans().value().empty();
    add_->setVisible(hasFans && onScreen_);
    noFans_->setVisible(!hasFans);
    empty_->setVisible(modes.empty());
    list_->setVisible(!modes.empty());
    const auto& sensors = engine_.deviceSensorsDisplay().value();
    const bool fahrenheit = engine_.useFahrenheit().value();
    const bool precise = engine_.preciseTemperatures().value();
    const std::optional<Uuid>& active = engine_.activeCustomModeID().value();
    for (std::size_t i = 0; i < rows_.size() && i < modes.size(); ++i) {
        const CustomMode& mode = modes[i];
        const ModeSensor& shown = modes::shownSensor(mode);
        rows_[i]->setContent(
            {.mode = mode,
             .isActive = modes::isActive(mode.id, active),
             .canEngage = hasFans,
             .inertReason = hasFans ? std::nullopt : std::optional<QString>(noFansText()),
             .temperature = modes::temperatureText(engine_.temperature(shown), fahrenheit, precise),
             .sensorName = modes::sensorName(shown, sensors)});
    }
}

void ModesView::openEditor(const std::optional<CustomMode>& mode) {
    if (editor_) {
        return;
    }
    const bool editing = mode.has_value();
    editor_ = new ModeEditorSheet(
        engine_, mode,
        [this, editing](const CustomMode& saved) {
            if (editing) {
                engine_.updateCustomMode(saved);
            } else {
                engine_.addCustomMode(saved);
            }
        },
        window());
    // The sheet is gone for the view as soon as it closes, before Qt gets round to deleting it.
    QObject::connect(editor_, &QDialog::finished, this, [this] { editor_ = nullptr; });
    presentCentred(*editor_, *this);
}

void ModesView::confirmDelete(const CustomMode& mode) {
    if (deleteDialog_) {
        return;
    }
    pendingDelete_ = mode;
    deleteDialog_ = new ModeDeleteDialog(modes::deleteMessage(mode),
                                         theme::accentColor(engine_.accentChoice().value()), window());
    QObject::connect(deleteDialog_, &QDialog::finished, this, [this](int result) {
        if (result == QDialog::Accepted && pendingDelete_) {
            engine_.deleteCustomMode(pendingDelete_->id);
        }
        pendingDelete_.reset();
        deleteDialog_ = nullptr;
    });
    presentCentred(*deleteDialog_, *this);
}

} // namespace halvoren
