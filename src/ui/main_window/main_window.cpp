#include "ui/main_window/main_window.h"

#include "core/competing_fan_controllers.h"
#include "engine/halvoren_engine.h"
#include "engine/settings_store.h"
#include "platform/running_programs.h"
#include "ui/components/ambient_backdrop.h"
#include "ui/dashboard/dashboard_view.h"
#include "ui/first_run/first_run_wizard_view.h"
#include "ui/main_window/sidebar.h"
#include "ui/main_window/window_banner.h"
#include "ui/modes/modes_view.h"
#include "ui/panel/panel_buttons.h"
#include "ui/power/power_view.h"
#include "ui/sensors/sensors_view.h"
#include "ui/settings/settings_controls.h"
#include "ui/settings/settings_view.h"
#include "ui/theme/appearance.h"
#include "ui/theme/backdrop.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/thermal_color.h"

#include <QApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QScreen>
#include <QSettings>
#include <QShortcut>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace halvoren {

namespace {

QString sectionKey() {
    return QString::fromLatin1(SettingsStore::selectedSectionKey);
}

} // namespace

MainWindow::MainWindow(HalvorenEngine& engine, QSettings& settings, LoginItem& loginItem,
                       NotificationCenter& notifications, QWidget* parent)
    : QWidget(parent)
    , engine_(engine)
    , settings_(settings)
    , backdrop_(new AmbientBackdrop(this))
    , sidebar_(new Sidebar(this))
    , title_(new QLabel(this))
    , turbo_(new FooterButton(QStringLiteral("Turbo"), "flame", this))
    , overheatBanner_(new WindowBanner("flame.fill", this))
    , helperBanner_(new WindowBanner("lock.shield.fill", this))
    , pages_(new QStackedWidget(this))
    , loginItem_(loginItem)
    , notifications_(notifications) {
    setObjectName(QStringLiteral("main"));
    setWindowTitle(QStringLiteral("Halvoren"));
    setMinimumSize(minimumContentSize);
    resize(defaultSize);
    backdrop_->lower();
    backdrop_->setScene(engine_.backdropScene().value());
    backdrop_->setExplicitScene(theme::launchArgumentOverride(QApplication::arguments()));
    watch_.on(engine_.backdropScene(), [this] { backdrop_->setScene(engine_.backdropScene().value()); });
    const QColor accent = theme::accentColor(engine_.accentChoice().value());

    auto* split = new QHBoxLayout(this);
    split->setContentsMargins(0, 0, 0, 0);
    split->setSpacing(0);
    sidebar_->setAccent(accent);
    sidebar_->setFixedWidth(Sidebar::idealWidth);
    sidebar_->setOnSelect([this](Section section) { selectSection(section); });
    split->addWidget(sidebar_);

    auto* detail = new QWidget(this);
    content_ = detail;
    detail->setMinimumWidth(detailMinimumWidth);
    auto* column = new QVBoxLayout(detail);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(12);
    auto* toolbar = new QHBoxLayout();
    toolbar->setContentsMargins(28, 20, 20, 0);
    title_->setFont(theme::font(theme::FontRole::dialogTitle));
    QPalette ink = title_->palette();
    ink.setColor(QPalette::WindowText, theme::primaryColor(theme::currentAppearance()));
    title_->setPalette(ink);
    toolbar->addWidget(title_);
    toolbar->addStretch(1);
    turbo_->setAccent(accent);
    turbo_->setToolTip(QStringLiteral("Every fan at full speed until turned off"));
    QObject::connect(turbo_, &QAbstractButton::clicked, this, [this] {
        if (engine_.isTurboEngaged().value()) {
            engine_.disengageTurbo();
        } else {
            engine_.engageTurbo();
        }
    });
    toolbar->addWidget(turbo_);
    column->addLayout(toolbar);

    auto* banners = new QVBoxLayout();
    banners->setContentsMargins(28, 0, 28, 0);
    banners->setSpacing(8);
    overheatBanner_->setTint(theme::thermalColor(85.0));
    overheatBanner_->setAction(QString(), "xmark.circle.fill");
    overheatBanner_->action().setAccessibleName(QStringLiteral("Dismiss overheat alert"));
    QObject::connect(&overheatBanner_->action(), &QAbstractButton::clicked, this,
                     [this] { engine_.alerts().dismissInAppAlert(); });
    banners->addWidget(overheatBanner_);
    banners->addWidget(helperBanner_);
    column->addLayout(banners);

    dashboard_ = new DashboardView(engine_, settings_, [this](Section section) { selectSection(section); });
    pages_->addWidget(dashboard_);
    sensors_ = new SensorsView(engine_, settings_);
    pages_->addWidget(sensors_);
    power_ = new PowerView(engine_);
    pages_->addWidget(power_);
    modes_ = new ModesView(engine_);
    pages_->addWidget(modes_);
    settingsView_ = new SettingsView(engine_, loginItem_);
    pages_->addWidget(settingsView_);
    toolbar->insertWidget(2, &sensors_->searchField());
    toolbar->insertWidget(3, &modes_->addButton());
    column->addWidget(pages_, 1);
    split->addWidget(detail, 1);

    for (const SectionInfo& info : sections) {
        // Control on Linux; Qt maps it to Command on macOS.
        auto* shortcut = new QShortcut(
            QKeySequence(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + static_cast<int>(info.section))), this);
        QObject::connect(shortcut, &QShortcut::activated, this,
                         [this, section = info.section] { selectSection(section); });
        shortcuts_[static_cast<std::size_t>(info.section)] = shortcut;
    }
    setTabOrder(&sidebar_->item(Section::settings), turbo_);

    watch_.on(engine_.helperState(), [this] { refreshHelper(); });
    watch_.on(engine_.smcAvailable(), [this] { refreshHelper(); });
    watch_.on(engine_.isTurboEngaged(), [this] { refreshTurbo(); });
    watch_.on(engine_.alerts().inAppAlert(), [this] { refreshOverheat(); });
    refreshHelper();
    refreshTurbo();
    refreshOverheat();
    watch_.on(engine_.hasCompletedFirstRunSetup(), [this] { refreshWizard(); });
    refreshWizard();
    selectSection(sectionFromRaw(settings_.value(sectionKey()).toString()));
}

MainWindow::~MainWindow() {
    engine_.setMainWindowVisible(false);
}

void MainWindow::selectSection(Section section) {
    const bool changed = section != section_ || pages_->currentIndex() != static_cast<int>(section);
    section_ = section;
    const SectionInfo& info = sectionInfo(section);
    settings_.setValue(sectionKey(), QString::fromUtf8(info.raw));
    sidebar_->setCurrent(section);
    title_->setText(QString::fromUtf8(info.title));
    pages_->setCurrentIndex(static_cast<int>(section));
    if (changed && isVisible() && !theme::prefersReducedMotion()) {
        transition_.play(pages_->currentWidget());
    }
    sensors_->searchField().setVisible(section == Section::sensors);
}

void MainWindow::refreshHelper() {
    const HelperState& state = engine_.helperState().value();
    const bool connected = state.kind() == HelperState::Kind::connected;
    sidebar_->setFooter(helperFooterText(state),
                        connected ? QColor(0x34, 0xC7, 0x59)
                                  : (state.kind() == HelperState::Kind::enabled ? QColor(0xFF, 0x9F, 0x0A)
                                                                                : QColor(0xFF, 0x45, 0x3A)));
    const std::optional<HelperBannerText> banner = helperBannerText(state, engine_.smcAvailable().value());
    helperBanner_->setVisible(banner.has_value());
    if (!banner) {
        return;
    }
    QString detail = banner->detail;
    if (!engine_.smcAvailable().value() && state.kind() == HelperState::Kind::unavailable) {
        detail += QLatin1Char(' ') + QString::fromStdString(smcUnavailableDescription(
                                         competingFanControllerName(runningProgramIdentifiers())));
    }
    helperBanner_->setText(banner->title, detail);
    helperBanner_->setTint(theme::accentColor(engine_.accentChoice().value()));
    helperBanner_->setAction(helperActionTitle(banner->action), "lock.shield.fill");
    QObject::connect(&helperBanner_->action(), &QAbstractButton::clicked, this,
                     [this, action = banner->action] {
                         if (action == HelperAction::install) {
                             engine_.installHelper();
                         } else if (action == HelperAction::approve) {
                             engine_.openHelperApproval();
                         }
                     });
}

void MainWindow::refreshWizard() {
    const bool done = engine_.hasCompletedFirstRunSetup().value();
    if (done && wizard_) {
        // Its own button may have ended it: it goes once that click is over.
        wizard_->hide();
        wizard_->deleteLater();
        wizard_ = nullptr;
    } else if (!done && !wizard_) {
        wizard_ = new FirstRunWizardView(engine_, loginItem_, notifications_, this);
        wizard_->setGeometry(rect());
        wizard_->raise();
        wizard_->show();
        wizard_->mainButton().setFocus(Qt::OtherFocusReason);
    }
    // The window's own controls sit out of the keyboard's reach under the wizard.
    sidebar_->setEnabled(done);
    if (content_) {
        content_->setEnabled(done);
    }
}

void MainWindow::refreshTurbo() {
    const bool engaged = engine_.isTurboEngaged().value();
    turbo_->setSymbol(engaged ? "flame.fill" : "flame");
    turbo_->setAccessibleDescription(engaged ? QStringLiteral("On") : QStringLiteral("Off"));
}

void MainWindow::refreshOverheat() {
    const std::optional<std::string>& alert = engine_.alerts().inAppAlert().value();
    overheatBanner_->setVisible(alert.has_value());
    overheatBanner_->setText(QString::fromStdString(alert.value_or(std::string())), QString());
}

void MainWindow::present() {
    selectSection(sectionFromRaw(settings_.value(sectionKey()).toString()));
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
    if (wizard_) {
        wizard_->setGeometry(rect());
    }
    QWidget::resizeEvent(event);
}

} // namespace halvoren
