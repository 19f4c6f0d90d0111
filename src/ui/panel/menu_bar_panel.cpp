#include "ui/panel/menu_bar_panel.h"

#include "core/fan_driving_status.h"
#include "core/temperature_format.h"
#include "engine/halvoren_engine.h"
#include "ui/components/ambient_backdrop.h"
#include "ui/components/module_card.h"
#include "ui/components/spinning_glyph.h"
#include "ui/panel/panel_buttons.h"
#include "ui/panel/speed_slider.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/symbols.h"
#include "ui/theme/thermal_color.h"
#include "ui/weather/fan_flow_meter.h"
#include "ui/weather/weather_values.h"

#include <QFontMetricsF>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>
#include <cmath>

namespace halvoren {

namespace {

// The faint wash behind a hovered hero button.
void paintHoverWash(QPainter& painter, const QRectF& rect, theme::Appearance look) {
    QColor hover = theme::primaryColor(look);
    hover.setAlphaF(0.05F);
    painter.setPen(Qt::NoPen);
    painter.setBrush(hover);
    painter.drawRoundedRect(rect, 10.0, 10.0);
}

constexpr int margin = 12;
constexpr int gap = 10;

// The large readout: the source's short name over the number and its unit.
class HeroTemperatureButton : public AccentButton {
public:
    explicit HeroTemperatureButton(QWidget* parent)
        : AccentButton(parent) {
        setToolTip(QStringLiteral("Open Sensors"));
        setAccessibleName(QStringLiteral("Temperature"));
        setMinimumSize(120, 64);
    }
    void setReading(QString source, QString number, QString unit, std::optional<double> celsius) {
        source_ = std::move(source);
        number_ = std::move(number);
        unit_ = std::move(unit);
        celsius_ = celsius;
        update();
    }
    const QString& number() const { return number_; }
    QSize sizeHint() const override { return {140, 64}; }

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override {
        const theme::Appearance look = theme::currentAppearance();
        if (isHovered()) {
            paintHoverWash(painter, rect, look);
        }
        painter.setFont(theme::font(theme::FontRole::captionSmall));
        painter.setPen(theme::secondaryColor(look));
        painter.drawText(QRectF(rect.left() + 6, rect.top() + 4, rect.width() - 12, 13),
                         Qt::AlignLeft | Qt::AlignVCenter, source_.toUpper());
        const QFont big = theme::font(theme::FontRole::heroValue);
        painter.setFont(big);
        painter.setPen(celsius_ ? theme::thermalTextColor(*celsius_, look == theme::Appearance::dark)
                                : theme::secondaryColor(look));
        theme::drawTabularText(painter, QRectF(rect.left() + 6, rect.top() + 16, rect.width(), 44),
                               Qt::AlignLeft | Qt::AlignVCenter, number_);
        const double width = theme::tabularTextWidth(big, number_);
        painter.setFont(theme::font(theme::FontRole::panelTitle));
        painter.setPen(theme::secondaryColor(look));
        painter.drawText(QRectF(rect.left() + 8 + width, rect.top() + 22, 40, 20),
                         Qt::AlignLeft | Qt::AlignVCenter, unit_);
        paintFocusRing(painter, rect, 10.0);
    }

private:
    QString source_;
    QString number_;
    QString unit_;
    std::optional<double> celsius_;
};

// The fans' compact meters side by side, or the message on a machine without fans.
class HeroFansButton : public AccentButton {
public:
    explicit HeroFansButton(QWidget* parent)
        : AccentButton(parent)
        , row_(new QHBoxLayout(this)) {
        setToolTip(QStringLiteral("Open Dashboard"));
        setAccessibleName(QStringLiteral("Fans"));
        setMinimumHeight(64);
        row_->setContentsMargins(8, 8, 8, 8);
        row_->setSpacing(12);
        row_->addStretch(1);
    }
    QHBoxLayout& row() { return *row_; }
    void setMessage(QString message) {
        message_ = std::move(message);
        update();
    }

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override {
        const theme::Appearance look = theme::currentAppearance();
        if (isHovered()) {
            paintHoverWash(painter, rect, look);
        }
        if (!message_.isEmpty()) {
            painter.setFont(theme::font(theme::FontRole::caption));
            painter.setPen(theme::secondaryColor(look));
            painter.drawText(rect.adjusted(8, 0, -8, 0), Qt::AlignRight | Qt::AlignVCenter | Qt::TextWordWrap,
                             message_);
        }
        paintFocusRing(painter, rect, 10.0);
    }

private:
    QHBoxLayout* row_;
    QString message_;
};

// A section's header: a symbol, its caption, and a detail on the right.
class CaptionRow : public QWidget {
public:
    CaptionRow(std::string symbol, QString caption, QWidget* parent)
        : QWidget(parent)
        , symbol_(std::move(symbol))
        , caption_(std::move(caption)) {
        setFixedHeight(18);
    }
    void setDetail(QString detail) {
        detail_ = std::move(detail);
        update();
    }
    const QString& detail() const { return detail_; }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const theme::Appearance look = theme::currentAppearance();
        const QColor secondary = theme::secondaryColor(look);
        theme::paintSymbol(painter, QRectF(0, 2, 14, 14), symbol_, secondary);
        painter.setFont(theme::font(theme::FontRole::caption));
        painter.setPen(secondary);
        const QString caption = caption_.toUpper();
        painter.drawText(QRectF(20, 0, width() - 20, height()), Qt::AlignLeft | Qt::AlignVCenter, caption);
        const double detailLeft = 20 + QFontMetricsF(painter.font()).horizontalAdvance(caption) + 12;
        const QRectF detailRect(detailLeft, 0, width() - detailLeft, height());
        if (detail_.isEmpty() || !detail_.front().isDigit()) {
            // A hint, not a number: quieter, and shortened if it must be.
            painter.setFont(theme::font(theme::FontRole::captionSmall));
            painter.drawText(
                detailRect, Qt::AlignRight | Qt::AlignVCenter,
                QFontMetricsF(painter.font()).elidedText(detail_, Qt::ElideRight, detailRect.width()));
            return;
        }
        painter.setFont(theme::font(theme::FontRole::controlDetailEmphasis));
        painter.setPen(theme::primaryColor(look));
        theme::drawTabularText(painter, detailRect, Qt::AlignRight | Qt::AlignVCenter, detail_);
    }

private:
    std::string symbol_;
    QString caption_;
    QString detail_;
};

ModuleCard* card(QWidget* parent, std::optional<QString> title, int padding) {
    auto* result = new ModuleCard(parent);
    result->setTitle(std::move(title));
    result->setPadding(padding);
    return result;
}

// The card's padding is the only space around its content.
template <class Layout>
Layout* inside(QWidget* holder) {
    auto* layout = new Layout(holder);
    layout->setContentsMargins(0, 0, 0, 0);
    return layout;
}

} // namespace

MenuBarPanel::MenuBarPanel(HalvorenEngine& engine, const Clock& clock, PanelActions actions, QWidget* parent)
    : QWidget(parent)
    , engine_(engine)
    , clock_(clock)
    , actions_(std::move(actions)) {
    setFixedWidth(panelWidth);
    setAttribute(Qt::WA_TranslucentBackground);
    setAccessibleName(QStringLiteral("Halvoren"));
    countdown_.setInterval(1000);
    QObject::connect(&countdown_, &QTimer::timeout, this, [this] { refreshCooldown(); });
    build();
    backdrop_->setScene(engine_.backdropScene().value());
    refreshAccent();
    refreshFrost();
    refreshHonesty();
    refreshHero();
    refreshFans();
    refreshTabs();
    rebuildModes();
    refreshTurbo();
    refreshCooldown();
    syncSlider();
    refreshSpeedLabel();
    watchEngine();
}

MenuBarPanel::~MenuBarPanel() = default;

void MenuBarPanel::build() {
    backdrop_ = new AmbientBackdrop(this);
    backdrop_->setTextureScale(0.6);
    backdrop_->lower();
    column_ = new QVBoxLayout(this);
    column_->setContentsMargins(margin, margin, margin, margin);
    column_->setSpacing(gap);

    honestyCard_ = card(this, std::nullopt, 10);
    honesty_ = new QLabel(honestyCard_);
    honesty_->setWordWrap(true);
    honesty_->setFont(theme::font(theme::FontRole::caption));
    inside<QVBoxLayout>(honestyCard_)->addWidget(honesty_);
    column_->addWidget(honestyCard_);

    heroCard_ = card(this, std::nullopt, 8);
    auto* heroRow = inside<QHBoxLayout>(heroCard_);
    heroRow->setSpacing(6);
    heroTemperature_ = new HeroTemperatureButton(heroCard_);
    heroFans_ = new HeroFansButton(heroCard_);
    heroRow->addWidget(heroTemperature_, 0);
    heroRow->addWidget(heroFans_, 1);
    QObject::connect(heroTemperature_, &QAbstractButton::clicked, this,
                     [this] { open(QStringLiteral("sensors")); });
    QObject::connect(heroFans_, &QAbstractButton::clicked, this,
                     [this] { open(QStringLiteral("dashboard")); });
    column_->addWidget(heroCard_);

    modeCard_ = card(this, QStringLiteral("Mode"), 10);
    auto* modeColumn = inside<QVBoxLayout>(modeCard_);
    tabs_ = new PresetTabs(modeCard_);
    auto* tabRow = new QHBoxLayout(tabs_);
    tabRow->setContentsMargins(0, 0, 0, 0);
    tabRow->setSpacing(0);
    for (const panel::PresetTab& tab : panel::presetTabs) {
        auto* button = tabs_->addTab(new PresetTabButton(
            QString::fromUtf8(tab.title), std::string(tab.symbol), QString::fromUtf8(tab.subtitle)));
        tabRow->addWidget(button);
        QObject::connect(button, &QAbstractButton::clicked, this, [this, preset = tab.preset] {
            engine_.selectPreset(preset);
            refreshTabs(); // a preset that is already active changes no field
        });
    }
    modeColumn->addWidget(tabs_);
    column_->addWidget(modeCard_);

    modesCard_ = card(this, QStringLiteral("Modes"), 8);
    auto* modesColumn = inside<QVBoxLayout>(modesCard_);
    modesColumn->setSpacing(2);
    column_->addWidget(modesCard_);

    auto* tiles = new QHBoxLayout();
    tiles->setSpacing(gap);
    turbo_ = new TileButton("fan.fill", true, this);
    turbo_->setAccessibleName(QStringLiteral("Turbo"));
    cooldown_ = new TileButton("timer", false, this);
    cooldown_->setAccessibleName(QStringLiteral("Cooldown"));
    tiles->addWidget(turbo_);
    tiles->addWidget(cooldown_);
    QObject::connect(turbo_, &QAbstractButton::clicked, this, [this] {
        if (engine_.isTurboEngaged().value()) {
            engine_.disengageTurbo();
        } else {
            engine_.engageTurbo();
        }
    });
    QObject::connect(cooldown_, &QAbstractButton::clicked, this, [this] {
        if (engine_.isCoolingDown()) {
            engine_.cancelCooldown();
        } else {
            engine_.startCooldown();
        }
    });
    column_->addLayout(tiles);

    speedCard_ = card(this, std::nullopt, 12);
    auto* speedColumn = inside<QVBoxLayout>(speedCard_);
    speedColumn->setSpacing(8);
    speedHeader_ = new CaptionRow("gauge.with.needle", QStringLiteral("Fan Speed"), speedCard_);
    slider_ = new SpeedSlider(speedCard_);
    slider_->setRange(0, sliderSteps);
    slider_->setAccessibleName(QStringLiteral("Fan Speed"));
    slider_->setToolTip(QStringLiteral("Dragging takes over at a fixed fan speed"));
    speedColumn->addWidget(speedHeader_);
    speedColumn->addWidget(slider_);
    QObject::connect(slider_, &QAbstractSlider::sliderPressed, this, [this] {
        dragging_ = true;
        refreshSpeedLabel();
    });
    QObject::connect(slider_, &QAbstractSlider::sliderMoved, this, [this] { refreshSpeedLabel(); });
    QObject::connect(slider_, &QAbstractSlider::sliderReleased, this, [this] {
        dragging_ = false;
        const double rpm = panel::sliderRPM(sliderValue(), panel::fanBounds(engine_.fans().value()));
        engine_.setConstantRPM(static_cast<std::int64_t>(rpm));
        refreshSpeedLabel();
    });
    column_->addWidget(speedCard_);

    auto* footer = new QHBoxLayout();
    footer->setContentsMargins(0, 0, 0, 0);
    footer->setSpacing(4);
    footer_ = {new FooterButton(QStringLiteral("Settings"), "gearshape", this),
               new FooterButton(QStringLiteral("Open Halvoren"), "arrow.up.right", this),
               new FooterButton(QStringLiteral("Quit"), "power", this)};
    footer->addWidget(footer_[0]);
    footer->addStretch(1);
    footer->addWidget(footer_[1]);
    footer->addWidget(footer_[2]);
    QObject::connect(footer_[0], &QAbstractButton::clicked, this,
                     [this] { open(QStringLiteral("settings")); });
    QObject::connect(footer_[1], &QAbstractButton::clicked, this, [this] { open(std::nullopt); });
    QObject::connect(footer_[2], &QAbstractButton::clicked, this, [this] {
        if (actions_.quit) {
            actions_.quit();
        }
    });
    column_->addLayout(footer);
}

void MenuBarPanel::watchEngine() {
    watch_.on(engine_.helperState(), [this] { refreshHonesty(); });
    for (const auto* field :
         {&engine_.smcAvailable(), &engine_.useFahrenheit(), &engine_.preciseTemperatures()}) {
        watch_.on(*field, [this] { refreshHero(); });
    }
    watch_.on(engine_.heroDisplayTemperature(), [this] { refreshHero(); });
    watch_.on(engine_.menuBarTempSource(), [this] { refreshHero(); });
    watch_.on(engine_.controlSource(), [this] { refreshHero(); });
    watch_.on(engine_.fans(), [this] {
        refreshFans();
        refreshTurbo();
    });
    watch_.on(engine_.activePreset(), [this] { refreshTabs(); });
    watch_.on(engine_.activeProfile(), [this] {
        refreshTabs();
        syncSlider();
        refreshSpeedLabel();
    });
    watch_.on(engine_.manualFanTargets(), [this] { refreshSpeedLabel(); });
    watch_.on(engine_.customModes(), [this] { rebuildModes(); });
    watch_.on(engine_.activeCustomModeID(), [this] { rebuildModes(); });
    watch_.on(engine_.isTurboEngaged(), [this] { refreshTurbo(); });
    watch_.on(engine_.cooldownEndDate(), [this] { refreshCooldown(); });
    watch_.on(engine_.accentChoice(), [this] { refreshAccent(); });
    watch_.on(engine_.glassFrost(), [this] { refreshFrost(); });
    watch_.on(engine_.backdropScene(), [this] { backdrop_->setScene(engine_.backdropScene().value()); });
}

void MenuBarPanel::open(std::optional<QString> section) const {
    if (actions_.openMainWindow) {
        actions_.openMainWindow(std::move(section));
    }
    if (actions_.closePanel) {
        actions_.closePanel();
    }
}

std::optional<QString> MenuBarPanel::honestyText() const {
    if (honestyCard_->isHidden()) {
        return std::nullopt;
    }
    return honesty_->text();
}

QString MenuBarPanel::heroTemperatureText() const {
    return static_cast<HeroTemperatureButton*>(heroTemperature_)->number();
}

QString MenuBarPanel::speedText() const {
    return static_cast<CaptionRow*>(speedHeader_)->detail();
}

double MenuBarPanel::sliderValue() const {
    return static_cast<double>(slider_->sliderPosition()) / sliderSteps;
}

void MenuBarPanel::refreshHonesty() {
    const std::optional<QString> line = panel::honestyLine(engine_.helperState().value());
    honesty_->setText(line.value_or(QString()));
    QPalette palette = honesty_->palette();
    palette.setColor(QPalette::WindowText, theme::primaryColor(theme::currentAppearance()));
    honesty_->setPalette(palette);
    honestyCard_->setAccessibleName(line.value_or(QString()));
    honestyCard_->setHidden(!line);
}

void MenuBarPanel::refreshHero() {
    const bool fahrenheit = engine_.useFahrenheit().value();
    const bool precise = engine_.preciseTemperatures().value();
    const double celsius = engine_.displayedTemperature().value();
    const bool reading = engine_.smcAvailable().value() && celsius > 0.0;
    const QString number =
        reading ? QString::number(engine_.heroDisplayTemperature().value(), 'f', precise ? 1 : 0)
                : QStringLiteral("--");
    static_cast<HeroTemperatureButton*>(heroTemperature_)
        ->setReading(QString::fromStdString(engine_.displayedTemperatureSourceLabel()), number,
                     fahrenheit ? QStringLiteral("\u00B0F") : QStringLiteral("\u00B0C"),
                     reading ? std::optional(celsius) : std::nullopt);
    heroTemperature_->setAccessibleDescription(
        panel::heroAccessibilityValue(reading ? std::optional(celsius) : std::nullopt, fahrenheit, precise));
}

void MenuBarPanel::refreshFans() {
    const panel::FanMap& fans = engine_.fans().value();
    auto* hero = static_cast<HeroFansButton*>(heroFans_);
    if (meters_.size() != fans.size()) {
        for (auto* meter : meters_) {
            delete meter;
        }
        meters_.clear();
        for (std::size_t i = 0; i < fans.size(); ++i) {
            auto* meter = new FanFlowMeter(FanFlowMeter::Style::mini, hero);
            meter->setAttribute(Qt::WA_TransparentForMouseEvents);
            meter->setAccent(theme::accentColor(engine_.accentChoice().value()));
            hero->row().addWidget(meter);
            meters_.push_back(meter);
        }
    }
    const std::vector<int> ids = sortedFanIDs(fans);
    std::size_t index = 0;
    for (const auto& [id, fan] : fans) {
        meters_[index++]->setFan(fan, ids);
    }
    hero->setMessage(fans.empty() ? QStringLiteral("This Mac has no controllable fans.") : QString());
    heroFans_->setAccessibleDescription(fans.empty() ? QStringLiteral("This Mac has no controllable fans.")
                                                     : panel::fanMetersAccessibilityValue(fans));
}

void MenuBarPanel::refreshTabs() {
    const std::optional<FanPreset> tier =
        panel::activeTier(engine_.activePreset().value(), engine_.activeProfile().value());
    int index = -1;
    for (std::size_t i = 0; i < panel::presetTabs.size(); ++i) {
        if (tier == panel::presetTabs[i].preset) {
            index = static_cast<int>(i);
        }
    }
    tabs_->setCurrent(index);
}

void MenuBarPanel::rebuildModes() {
    for (auto* row : modeRows_) {
        delete row;
    }
    modeRows_.clear();
    const std::vector<CustomMode>& modes = engine_.customModes().value();
    const std::optional<Uuid>& active = engine_.activeCustomModeID().value();
    auto* layout = static_cast<QVBoxLayout*>(modesCard_->layout());
    const QColor accent = theme::accentColor(engine_.accentChoice().value());
    for (const CustomMode& mode : modes) {
        auto* row = new ListRowButton(modesCard_);
        const bool checked = active == mode.id;
        row->setContent(mode.symbolName, QString::fromStdString(mode.name),
                        panel::customModeDetail(mode.speed), checked);
        row->setAccent(accent);
        row->setAccessibleName(QString::fromStdString(mode.name));
        row->setAccessibleDescription(panel::customModeAccessibilityValue(mode.speed));
        QObject::connect(row, &QAbstractButton::clicked, this,
                         [this, id = mode.id] { engine_.selectCustomMode(id); });
        layout->addWidget(row);
        modeRows_.push_back(row);
    }
    modesCard_->setHidden(modes.empty());
    chainFocus();
}

void MenuBarPanel::refreshTurbo() {
    const bool engaged = engine_.isTurboEngaged().value();
    turbo_->setContent(QStringLiteral("Turbo"),
                       engaged ? panel::turboDetail(engine_.fans().value()) : QString(), engaged);
    turbo_->setToolTip(engaged ? QStringLiteral("Stop Turbo")
                               : QStringLiteral("Run every fan at full speed"));
    turbo_->glyph()->setAngularVelocity(engaged ? engine_.menuBarFanFraction() * 4.0 * M_PI : 0.0);
}

void MenuBarPanel::refreshCooldown() {
    const std::optional<Clock::WallTime>& end = engine_.cooldownEndDate().value();
    if (end) {
        cooldown_->setContent(QStringLiteral("Cooling \u00B7 ") +
                                  panel::cooldownCountdown(clock_.wallNow(), *end),
                              QString(), true);
        cooldown_->setToolTip(QStringLiteral("Cancel cooldown"));
        if (isVisible() && !countdown_.isActive()) {
            countdown_.start();
        }
    } else {
        cooldown_->setContent(QStringLiteral("Cooldown"), QString(), false);
        cooldown_->setToolTip(QStringLiteral("Start a timed cooldown"));
        countdown_.stop();
    }
}

void MenuBarPanel::refreshSpeedLabel() {
    const bool manual =
        panel::isManualControl(engine_.manualFanTargets().value(), engine_.activeProfile().value());
    const double rpm = panel::sliderRPM(sliderValue(), panel::fanBounds(engine_.fans().value()));
    static_cast<CaptionRow*>(speedHeader_)->setDetail(panel::speedLabel(manual || dragging_, rpm));
    slider_->setAccessibleDescription(static_cast<CaptionRow*>(speedHeader_)->detail());
}

void MenuBarPanel::syncSlider() {
    if (dragging_ || slider_->isSliderDown()) {
        return;
    }
    const panel::FanMap& fans = engine_.fans().value();
    const double position =
        panel::sliderPosition(engine_.activeProfile().value(), fans, panel::fanBounds(fans));
    const QSignalBlocker quiet(slider_);
    slider_->setValue(static_cast<int>(std::lround(position * sliderSteps)));
}

void MenuBarPanel::refreshAccent() {
    const QColor accent = theme::accentColor(engine_.accentChoice().value());
    tabs_->setAccent(accent);
    slider_->setAccent(accent);
    turbo_->setAccent(accent);
    cooldown_->setAccent(accent);
    heroTemperature_->setAccent(accent);
    heroFans_->setAccent(accent);
    for (auto* row : modeRows_) {
        row->setAccent(accent);
    }
    for (auto* button : footer_) {
        button->setAccent(accent);
    }
    for (auto* meter : meters_) {
        meter->setAccent(accent);
    }
    refreshTurbo();
    refreshCooldown();
}

void MenuBarPanel::refreshFrost() {
    for (auto* each : {honestyCard_, heroCard_, modeCard_, modesCard_, speedCard_}) {
        each->setFrost(engine_.glassFrost().value());
    }
}

void MenuBarPanel::chainFocus() {
    std::vector<QWidget*> chain{heroTemperature_, heroFans_};
    chain.insert(chain.end(), tabs_->tabs().begin(), tabs_->tabs().end());
    chain.insert(chain.end(), modeRows_.begin(), modeRows_.end());
    chain.insert(chain.end(), {turbo_, cooldown_, slider_});
    chain.insert(chain.end(), footer_.begin(), footer_.end());
    for (std::size_t i = 1; i < chain.size(); ++i) {
        QWidget::setTabOrder(chain[i - 1], chain[i]);
    }
}

void MenuBarPanel::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    refreshCooldown();
}

void MenuBarPanel::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    countdown_.stop();
}

void MenuBarPanel::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    backdrop_->setGeometry(rect());
    QPainterPath outline;
    outline.addRoundedRect(QRectF(rect()), cornerRadius, cornerRadius);
    backdrop_->setMask(QRegion(outline.toFillPolygon().toPolygon()));
}

} // namespace halvoren
