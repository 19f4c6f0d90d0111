#include "ui/main_window/main_window.h"

#include "engine/halvoren_engine.h"
#include "ui/components/ambient_backdrop.h"
#include "ui/components/module_card.h"
#include "ui/theme/backdrop.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/weather/fan_flow_meter.h"
#include "ui/weather/weather_hero_view.h"

#include <QApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QVBoxLayout>

namespace halvoren {

MainWindow::MainWindow(HalvorenEngine& engine, QSettings& settings, QWidget* parent)
    : QWidget(parent)
    , engine_(engine)
    , backdrop_(new AmbientBackdrop(this)) {
    setObjectName(QStringLiteral("main"));
    setWindowTitle(QStringLiteral("Halvoren"));
    setMinimumSize(minimumContentSize);
    resize(defaultSize);
    backdrop_->lower();
    backdrop_->setScene(engine_.backdropScene().value());
    backdrop_->setExplicitScene(theme::launchArgumentOverride(QApplication::arguments()));
    watch_.on(engine_.backdropScene(), [this] { backdrop_->setScene(engine_.backdropScene().value()); });

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(32, 28, 32, 32);
    layout->setSpacing(18);
    auto* title = new QLabel(QStringLiteral("Dashboard"), this);
    title->setFont(theme::font(theme::FontRole::dialogTitle));
    QPalette ink = title->palette();
    ink.setColor(QPalette::WindowText, theme::primaryColor(theme::currentAppearance()));
    title->setPalette(ink);
    layout->addWidget(title);

    auto* weather = new ModuleCard(this);
    weather->setFrost(engine_.glassFrost().value());
    auto* weatherLayout = new QVBoxLayout(weather);
    weatherLayout->addWidget(new WeatherHeroView(engine_, settings, weather));
    layout->addWidget(weather);

    auto* fans = new ModuleCard(this);
    fans->setTitle(QStringLiteral("Fans"));
    fans->setFrost(engine_.glassFrost().value());
    fanRow_ = new QHBoxLayout(fans);
    fanRow_->setSpacing(28);
    layout->addWidget(fans);
    layout->addStretch(1);
    watch_.on(engine_.fans(), [this] { refreshFans(); });
    watch_.on(engine_.manualFanTargets(), [this] { refreshFans(); });
    refreshFans();
}

MainWindow::~MainWindow() {
    engine_.setMainWindowVisible(false);
}

void MainWindow::refreshFans() {
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
            fanRow_->addWidget(meter);
            meters_.push_back(meter);
        }
    }
    std::vector<int> ids;
    for (const auto& [id, fan] : fans) {
        ids.push_back(id);
    }
    const auto& manual = engine_.manualFanTargets().value();
    std::size_t index = 0;
    for (const auto& [id, fan] : fans) {
        FanFlowMeter* meter = meters_[index++];
        meter->setFan(fan, ids);
        const auto target = manual.find(id);
        meter->setManualTarget(target == manual.end() ? std::nullopt : std::optional(target->second));
    }
}

void MainWindow::present() {
    if (!placed_) {
        placed_ = true;
        QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
        if (!screen) {
            screen = QGuiApplication::primaryScreen();
        }
        if (screen) {
            const QRect area = screen->availableGeometry();
            resize(defaultSize.boundedTo(area.size()).expandedTo(minimumContentSize));
            move(area.center() - rect().center());
        }
    }
    show();
    raise();
    activateWindow();
}

void MainWindow::showEvent(QShowEvent* event) {
    engine_.setMainWindowVisible(true);
    QWidget::showEvent(event);
}

void MainWindow::hideEvent(QHideEvent* event) {
    engine_.setMainWindowVisible(false);
    QWidget::hideEvent(event);
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    backdrop_->setGeometry(rect());
    QWidget::resizeEvent(event);
}

} // namespace halvoren
