#include "ui/dashboard/dashboard_view.h"

#include "core/temperature_format.h"
#include "engine/halvoren_engine.h"
#include "ui/components/content_column.h"
#include "ui/components/module_card.h"
#include "ui/components/thin_scroller.h"
#include "ui/dashboard/dashboard_values.h"
#include "ui/dashboard/dust_cycle_sheet.h"
#include "ui/dashboard/fan_control_card.h"
#include "ui/dashboard/heat_sources_card.h"
#include "ui/panel/panel_buttons.h"
#include "ui/sensors/device_sensor_row.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/symbols.h"
#include "ui/theme/thermal_color.h"
#include "ui/weather/weather_hero_view.h"

#include <QFontMetricsF>
#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

namespace halvoren {

namespace {

// The urgent tint of the forecast chip.
const QColor warningColor(0xFF, 0x9F, 0x0A);

ModuleCard* card(const HalvorenEngine& engine, QWidget* parent, std::optional<QString> title = std::nullopt) {
    auto* made = new ModuleCard(parent);
    made->setTitle(std::move(title));
    made->setFrost(engine.glassFrost().value());
    made->setPadding(18);
    return made;
}

} // namespace

GaugeView::GaugeView(const HalvorenEngine& engine, QWidget* parent)
    : QWidget(parent)
    , engine_(engine)
    , chip_(new QWidget(this)) {
    setAttribute(Qt::WA_TranslucentBackground);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    chip_->setToolTip(QStringLiteral("Thermal forecast"));
    chip_->setAccessibleName(QStringLiteral("Thermal forecast"));
    for (const auto* field : {&engine_.displayedTemperature(), &engine_.overheatThreshold()}) {
        watch_.on(*field, [this] { refresh(); });
    }
    watch_.on(engine_.forecastChip(), [this] { refresh(); });
    watch_.on(engine_.useFahrenheit(), [this] { refresh(); });
    watch_.on(engine_.preciseTemperatures(), [this] { refresh(); });
    watch_.on(engine_.activeProfile(), [this] { refresh(); });
    watch_.on(engine_.manualFanTargets(), [this] { refresh(); });
    watch_.on(engine_.fans(), [this] { refresh(); });
    refresh();
}

void GaugeView::refresh() {
    const ForecastChipState& chip = engine_.forecastChip().value();
    const double threshold = engine_.overheatThreshold().value();
    const bool fahrenheit = engine_.useFahrenheit().value();
    const bool precise = engine_.preciseTemperatures().value();
    chipText_ = dashboard::forecastChipText(chip, threshold, fahrenheit, precise);
    chip_->setAccessibleDescription(
        dashboard::forecastAccessibilityValue(chip, threshold, fahrenheit, precise));
    status_ = QString::fromStdString(engine_.drivingStatusSubtitle());
    setAccessibleName(QStringLiteral("Temperature ") +
                      QString::fromStdString(TemperatureFormat::display(
                          engine_.displayedTemperature().value(), fahrenheit, precise)));
    setAccessibleDescription(status_);
    update();
}

void GaugeView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const theme::Appearance look = theme::currentAppearance();
    const bool dark = look == theme::Appearance::dark;
    const double celsius = engine_.displayedTemperature().value();
    const QString value = QString::fromStdString(TemperatureFormat::display(
        celsius, engine_.useFahrenheit().value(), engine_.preciseTemperatures().value()));
    QFont big = theme::font(theme::FontRole::heroValue);
    big.setPointSizeF(big.pointSizeF() * 1.35);
    painter.setFont(big);
    painter.setPen(theme::thermalTextColor(celsius, dark));
    const double valueWidth = theme::tabularTextWidth(big, value);
    const QRectF valueRect(0, 0, valueWidth + 4, 72);
    theme::drawTabularText(painter, valueRect, Qt::AlignLeft | Qt::AlignVCenter, value);

    // The chip: a capsule holding the forecast's symbol and words.
    const ForecastChipState& chip = engine_.forecastChip().value();
    const QColor ink = chip.etaIsUrgent ? warningColor : theme::secondaryColor(look);
    const QFont chipFont = theme::font(theme::FontRole::controlDetailEmphasis);
    const double textWidth = QFontMetricsF(chipFont).horizontalAdvance(chipText_);
    const QRectF capsule(valueRect.right() + 16, valueRect.center().y() - 13, textWidth + 44, 26);
    chip_->setGeometry(capsule.toAlignedRect());
    QColor fill = ink;
    fill.setAlphaF(chip.etaIsUrgent ? 0.18F : 0.12F);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(capsule, 13.0, 13.0);
    theme::paintSymbol(painter, QRectF(capsule.left() + 10, capsule.center().y() - 7, 14, 14),
                       chip.symbolName, ink);
    painter.setFont(chipFont);
    painter.setPen(chip.etaIsUrgent ? ink : theme::primaryColor(look));
    theme::drawTabularText(painter, capsule.adjusted(30, 0, -10, 0), Qt::AlignLeft | Qt::AlignVCenter,
                           chipText_);

    painter.setFont(theme::font(theme::FontRole::body));
    painter.setPen(theme::secondaryColor(look));
    painter.drawText(QRectF(2, 80, width() - 2, 24), Qt::AlignLeft | Qt::AlignVCenter, status_);
}

DashboardView::DashboardView(HalvorenEngine& engine, QSettings& settings,
                             const std::function<void(Section)>& openSection, QWidget* parent)
    : QScrollArea(parent)
    , engine_(engine)
    , allSensors_(new FooterButton(QStringLiteral("All Sensors"), "chevron.right")) {
    useThinScroller(*this);
    auto* content = new QWidget();
    content->setAttribute(Qt::WA_TranslucentBackground);
    // The scroller takes the last 10 px, so the cards line up with the banners above.
    QVBoxLayout* column = contentColumn(*content, maximumContentWidth, QMargins(28, 8, 18, 28), 18);
    QWidget* holder = column->parentWidget();

    // The weather hero is a glass card of its own.
    column->addWidget(new WeatherHeroView(engine_, settings, holder));

    auto* gaugeCard = card(engine_, holder, QStringLiteral("Temperature"));
    gauge_ = new GaugeView(engine_, gaugeCard);
    (new QVBoxLayout(gaugeCard))->addWidget(gauge_);
    column->addWidget(gaugeCard);

    auto* sensors = card(engine_, holder, QStringLiteral("Sensors"));
    auto* sensorColumn = new QVBoxLayout(sensors);
    sensorColumn->setSpacing(2);
    for (auto& row : sensorRows_) {
        row = new DeviceSensorRow(sensors);
        row->setAccent(theme::accentColor(engine_.accentChoice().value()));
        row->setOnTap([this, row] { toggleSensorExpansion(row->reading().id); });
        sensorColumn->addWidget(row);
    }
    allSensors_->setParent(sensors);
    QObject::connect(allSensors_, &QAbstractButton::clicked, this,
                     [openSection] { openSection(Section::sensors); });
    sensorColumn->addSpacing(4);
    sensorColumn->addWidget(allSensors_, 0, Qt::AlignLeft);
    column->addWidget(sensors);

    fanControl_ = new FanControlCard(engine_, holder);
    fanControl_->setOnDustCycle([this] { showDustCycleSheet(); });
    column->addWidget(fanControl_);
    heatSources_ = new HeatSourcesCard(engine_, holder);
    column->addWidget(heatSources_);
    column->addStretch(1);
    setWidget(content);

    watch_.on(engine_.deviceSensorsDisplay(), [this] { refreshSensors(); });
    watch_.on(engine_.pinnedSensorKeys(), [this] { refreshSensors(); });
    watch_.on(engine_.sensorHistory(), [this] { refreshSensors(); });
    watch_.on(engine_.useFahrenheit(), [this] { refreshSensors(); });
    watch_.on(engine_.preciseTemperatures(), [this] { refreshSensors(); });
    refreshSensors();
}

void DashboardView::toggleSensorExpansion(const std::string& id) {
    if (expandedSensorID_ == id) {
        expandedSensorID_.reset();
    } else {
        expandedSensorID_ = id;
    }
    refreshSensors();
}

void DashboardView::refreshSensors() {
    const auto readings = dashboard::dashboardSensorReadings(engine_.deviceSensorsDisplay().value(),
                                                             engine_.pinnedSensorKeys().value());
    const auto& history = engine_.sensorHistory().value();
    const bool fahrenheit = engine_.useFahrenheit().value();
    const bool precise = engine_.preciseTemperatures().value();
    for (std::size_t i = 0; i < sensorRows_.size(); ++i) {
        DeviceSensorRow* row = sensorRows_[i];
        row->setVisible(i < readings.size());
        if (i >= readings.size()) {
            continue;
        }
        const DeviceSensorReading& reading = readings[i];
        row->setReading(reading, fahrenheit, precise);
        const bool expanded = expandedSensorID_ == reading.id;
        if (expanded) {
            const auto found = history.find(reading.id);
            row->setHistory(found == history.end() ? std::vector<double>{} : found->second);
        }
        row->setExpanded(expanded);
    }
}

void DashboardView::showDustCycleSheet() {
    auto* sheet = new DustCycleSheet(engine_, window());
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->open();
    sheet->move(window()->geometry().center() - sheet->rect().center());
}

} // namespace halvoren
