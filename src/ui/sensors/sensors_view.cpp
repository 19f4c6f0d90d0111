#include "ui/sensors/sensors_view.h"

#include "engine/halvoren_engine.h"
#include "engine/settings_store.h"
#include "ui/components/module_card.h"
#include "ui/components/notice_view.h"
#include "ui/components/thin_scroller.h"
#include "ui/panel/panel_buttons.h"
#include "ui/sensors/device_sensor_row.h"
#include "ui/sensors/sensor_row.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QSettings>
#include <QVBoxLayout>

namespace halvoren {

namespace {

QString showAllKey() {
    return QString::fromLatin1(SettingsStore::showAllSensorsKey);
}

void setInk(QLabel& label, const QColor& ink) {
    QPalette palette = label.palette();
    palette.setColor(QPalette::WindowText, ink);
    label.setPalette(palette);
}

ModuleCard* card(const HalvorenEngine& engine, QWidget* parent) {
    auto* made = new ModuleCard(parent);
    made->setFrost(engine.glassFrost().value());
    made->setPadding(10);
    return made;
}

} // namespace

SensorsView::SensorsView(HalvorenEngine& engine, QSettings& settings, QWidget* parent)
    : QWidget(parent)
    , engine_(engine)
    , settings_(settings)
    , search_(new QLineEdit(this))
    , headingLabel_(new QLabel(this))
    , countLabel_(new QLabel(this))
    , scope_(new PresetTabs(this))
    , empty_(new NoticeView(NoticeView::Style::emptyState, "sensor", this))
    , noResults_(new NoticeView(NoticeView::Style::emptyState, "magnifyingglass", this))
    , scroller_(new QScrollArea(this))
    , essentials_(card(engine, nullptr))
    , full_(new QWidget())
    , fullColumn_(new QVBoxLayout(full_))
    , showAll_(settings.value(showAllKey(), false).toBool()) {
    search_->setPlaceholderText(QStringLiteral("Search all sensors"));
    search_->setAccessibleName(QStringLiteral("Search all sensors"));
    search_->setFixedWidth(220);
    const bool dark = theme::currentAppearance() == theme::Appearance::dark;
    // A soft capsule on the glass rather than the platform's white box.
    search_->setStyleSheet(QStringLiteral("QLineEdit { border-radius: 8px; padding: 4px 10px; "
                                          "border: 1px solid rgba(%1, %1, %1, 0.14); "
                                          "background: rgba(%1, %1, %1, %2); color: %3; }")
                               .arg(dark ? 255 : 0)
                               .arg(dark ? 0.08 : 0.05)
                               .arg(theme::primaryColor(theme::currentAppearance()).name()));
    // Hidden until a window gives it a place in its toolbar.
    search_->hide();
    QObject::connect(search_, &QLineEdit::textChanged, this, [this] { refresh(); });

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(28, 8, 18, 0);
    column->setSpacing(12);
    auto* header = new QHBoxLayout();
    header->setContentsMargins(0, 0, 10, 0);
    auto* titles = new QVBoxLayout();
    titles->setSpacing(2);
    headingLabel_->setFont(theme::font(theme::FontRole::panelTitle));
    countLabel_->setFont(theme::font(theme::FontRole::caption));
    titles->addWidget(headingLabel_);
    titles->addWidget(countLabel_);
    header->addLayout(titles);
    header->addStretch(1);
    auto* tabRow = new QHBoxLayout(scope_);
    tabRow->setContentsMargins(0, 0, 0, 0);
    tabRow->setSpacing(0);
    for (const bool all : {false, true}) {
        auto* tab = scope_->addTab(new PresetTabButton(
            all ? QStringLiteral("All") : QStringLiteral("Essentials"), std::string(), QString()));
        tabRow->addWidget(tab);
        QObject::connect(tab, &QAbstractButton::clicked, this, [this, all] { setShowAll(all); });
    }
    scope_->setAccent(theme::accentColor(engine_.accentChoice().value()));
    scope_->setAccessibleName(QStringLiteral("Scope"));
    scope_->setFixedWidth(200);
    header->addWidget(scope_, 0, Qt::AlignVCenter);
    column->addLayout(header);

    column->addWidget(empty_, 1);
    column->addWidget(noResults_, 1);
    useThinScroller(*scroller_);
    auto* content = new QWidget();
    content->setAttribute(Qt::WA_TranslucentBackground);
    auto* stack = new QVBoxLayout(content);
    stack->setContentsMargins(0, 0, 10, 28);
    stack->setSpacing(0);
    (new QVBoxLayout(essentials_))->setSpacing(2);
    stack->addWidget(essentials_);
    full_->setAttribute(Qt::WA_TranslucentBackground);
    fullColumn_->setContentsMargins(0, 0, 0, 0);
    fullColumn_->setSpacing(14);
    stack->addWidget(full_);
    stack->addStretch(1);
    scroller_->setWidget(content);
    column->addWidget(scroller_, 1);

    for (const auto* field : {&engine_.useFahrenheit(), &engine_.preciseTemperatures(),
                              &engine_.smcAvailable(), &engine_.hasDiscoveredSensors()}) {
        watch_.on(*field, [this] { refresh(); });
    }
    watch_.on(engine_.allSensors(), [this] { refresh(); });
    watch_.on(engine_.deviceSensorsDisplay(), [this] { refresh(); });
    watch_.on(engine_.pinnedSensorKeys(), [this] { refresh(); });
    watch_.on(engine_.sensorHistory(), [this] { refreshEssentials(); });
    refresh();
}

bool SensorsView::isFull() const {
    return showAll_ || sensor_list::isSearching(search_->text());
}

void SensorsView::setShowAll(bool showAll) {
    showAll_ = showAll;
    settings_.setValue(showAllKey(), showAll);
    refresh();
}

void SensorsView::refresh() {
    const theme::Appearance look = theme::currentAppearance();
    const bool searching = sensor_list::isSearching(search_->text());
    const bool discovered = engine_.hasDiscoveredSensors().value();
    heading_ = sensor_list::heading(isFull());
    headingLabel_->setText(heading_);
    setInk(*headingLabel_, theme::primaryColor(look));
    setInk(*countLabel_, theme::secondaryColor(look));
    scope_->setVisible(!searching);
    scope_->setCurrent(showAll_ ? 1 : 0);

    empty_->setText(QStringLiteral("No sensors discovered"),
                    sensor_list::undiscoveredDetail(engine_.smcAvailable().value()));
    empty_->setVisible(!discovered);
    essentials_->setVisible(discovered && !isFull());
    full_->setVisible(discovered && isFull());
    refreshEssentials();
    refreshFull();
    const bool nothingFound = discovered && searching && sensorRows_.empty();
    noResults_->setText(QStringLiteral("No Results for \u201C") + search_->text().trimmed() +
                            QStringLiteral("\u201D"),
                        QStringLiteral("Check the spelling or try a new search."));
    noResults_->setVisible(nothingFound);
    scroller_->setVisible(discovered && !nothingFound);
    if (!isFull()) {
        count_ = sensor_list::essentialsCountText(engine_.deviceSensorsDisplay().value().size(),
                                                  engine_.useFahrenheit().value());
    }
    countLabel_->setText(count_);
}

void SensorsView::refreshEssentials() {
    const auto& readings = engine_.deviceSensorsDisplay().value();
    const auto& history = engine_.sensorHistory().value();
    const bool fahrenheit = engine_.useFahrenheit().value();
    const bool precise = engine_.preciseTemperatures().value();
    auto* layout = essentials_->layout();
    while (essentialRows_.size() < readings.size()) {
        auto* row = new DeviceSensorRow(essentials_);
        row->setAccent(theme::accentColor(engine_.accentChoice().value()));
        row->setOnTap([this, row] { toggleExpansion(row->reading().id); });
        layout->addWidget(row);
        essentialRows_.push_back(row);
    }
    while (essentialRows_.size() > readings.size()) {
        delete essentialRows_.back();
        essentialRows_.pop_back();
    }
    for (std::size_t i = 0; i < readings.size(); ++i) {
        DeviceSensorRow* row = essentialRows_[i];
        row->setReading(readings[i], fahrenheit, precise);
        const bool expanded = expandedSensorID_ == readings[i].id;
        if (expanded) {
            const auto found = history.find(readings[i].id);
            row->setHistory(found == history.end() ? std::vector<double>{} : found->second);
        }
        row->setExpanded(expanded);
    }
}

void SensorsView::refreshFull() {
    const auto& all = engine_.allSensors().value();
    const auto& pinned = engine_.pinnedSensorKeys().value();
    const std::vector<sensor_list::Group> groups =
        isFull() ? sensor_list::rawGroups(all, search_->text(), pinned) : std::vector<sensor_list::Group>{};
    if (isFull()) {
        count_ = sensor_list::fullCountText(groups, all.size());
    }
    std::vector<std::string> shape;
    for (const sensor_list::Group& group : groups) {
        shape.push_back(group.title.toStdString());
        for (const SMCSensor& sensor : group.sensors) {
            shape.push_back(sensor.id);
        }
    }
    if (shape != fullShape_) {
        // The groups or their members changed: build the cards again.
        fullShape_ = std::move(shape);
        while (QLayoutItem* item = fullColumn_->takeAt(0)) {
            delete item->widget();
            delete item;
        }
        groupHeaders_.clear();
        sensorRows_.clear();
        for (const sensor_list::Group& group : groups) {
            auto* holder = card(engine_, full_);
            auto* rows = new QVBoxLayout(holder);
            rows->setSpacing(0);
            groupHeaders_.push_back(new SensorGroupHeader(holder));
            rows->addWidget(groupHeaders_.back());
            for (std::size_t i = 0; i < group.sensors.size(); ++i) {
                auto* row = new SensorRow(holder);
                row->setOnTogglePin([this](const std::string& key) { engine_.togglePin(key); });
                rows->addWidget(row);
                sensorRows_.push_back(row);
            }
            fullColumn_->addWidget(holder);
        }
    }
    const bool fahrenheit = engine_.useFahrenheit().value();
    const bool precise = engine_.preciseTemperatures().value();
    std::size_t next = 0;
    for (std::size_t g = 0; g < groups.size(); ++g) {
        groupHeaders_[g]->setContent(groups[g].title, groups[g].sensors.size());
        for (const SMCSensor& sensor : groups[g].sensors) {
            sensorRows_[next++]->setSensor(sensor, pinned.contains(sensor.key), fahrenheit, precise);
        }
    }
}

void SensorsView::toggleExpansion(const std::string& id) {
    if (expandedSensorID_ == id) {
        expandedSensorID_.reset();
    } else {
        expandedSensorID_ = id;
    }
    refreshEssentials();
}

} // namespace halvoren
