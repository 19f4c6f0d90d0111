#include "app/application_shell.h"

#include "app/app_log.h"
#include "app/engine_host.h"
#include "app/run_marker.h"
#include "engine/halvoren_engine.h"
#include "engine/settings_store.h"
#include "platform/accessibility_preferences.h"
#include "platform/data_directory.h"
#include "platform/login_item.h"
#include "platform/notification_center.h"
#include "platform/termination_signals.h"
#include "platform/timer_source.h"
#include "ui/main_window/main_window.h"
#include "ui/menu_bar/status_item_controller.h"
#include "ui/panel/panel_popup.h"
#include "ui/theme/appearance.h"

#include <QApplication>
#include <QPointer>
#include <QSettings>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>
#include <csignal>
#include <iostream>

namespace halvoren {

// Built once the engine exists, destroyed before it: each watches engine fields.
struct ApplicationShell::Views {
    std::shared_ptr<AccessibilityPreferences> accessibility;
    std::unique_ptr<StatusItemController> statusItem;
    std::unique_ptr<LoginItem> loginItem = systemLoginItem();
    std::shared_ptr<NotificationCenter> notifications = systemNotificationCenter();
    std::unique_ptr<MainWindow> mainWindow;
    std::unique_ptr<QWidget> panelPreview;
    // The open panel deletes itself when it closes.
    QPointer<PanelPopup> panel;
};

ApplicationShell::ApplicationShell(LaunchOptions options, const QString& dataDirectory)
    : host_(std::make_unique<EngineHost>(std::move(options)))
    , runMarkerPath_(RunMarker::path(dataDirectory.isEmpty() ? applicationDataDirectory() : dataDirectory))
    , views_(std::make_unique<Views>()) {}

ApplicationShell::~ApplicationShell() {
    // The views read the engine: they go first.
    views_.reset();
    termination_.reset();
    host_.reset();
}

int ApplicationShell::exec() {
    HALVOREN_LOG_DEFAULT(logApp) << "launched";
    if (const auto failure = host_->build()) {
        std::cerr << "halvoren: " << *failure << std::endl;
        return 2;
    }
    // A kill from outside goes through the whole way out, so the fans are handed back.
    termination_ = std::make_unique<TerminationSignals>([this](int signal) {
        if (signal == SIGTERM) {
            HALVOREN_LOG_DEFAULT(logApp) << "SIGTERM received from outside the app — terminating gracefully";
        }
        quit();
    });
    [[maybe_unused]] auto marker = QtConcurrent::run(
        QThreadPool::globalInstance(), [path = runMarkerPath_] { RunMarker::checkAndWrite(path); });
    QApplication::setQuitOnLastWindowClosed(false);

    const LaunchOptions& options = host_->options();
    if (options.appearance) {
        theme::forceAppearance(*options.appearance == "dark" ? theme::Appearance::dark
                                                             : theme::Appearance::light);
    }
    views_->accessibility = systemAccessibilityPreferences();
    const auto followAccessibility = [](const AccessibilitySettings& settings) {
        theme::setPrefersReducedMotion(settings.reduceMotion);
        theme::setPrefersIncreasedContrast(settings.increaseContrast);
    };
    followAccessibility(views_->accessibility->current());
    views_->accessibility->observe(followAccessibility);

    HalvorenEngine& engine = host_->engine();
    host_->start([](const std::string& problem) { std::cerr << "halvoren: " << problem << std::endl; });
    views_->statusItem = std::make_unique<StatusItemController>(StatusItemController::Environment{
        .timers = host_->timers(),
        .accessibility = views_->accessibility,
        // The tray's strip usually follows the desktop's scheme, which a forced appearance stands for.
        .darkTray = theme::currentAppearance() == theme::Appearance::dark});
    views_->statusItem->attach(engine, [this](QRect trayGeometry) { openPanel(trayGeometry); });
    // A regular application shows its window at launch; a menu-bar-only one waits to be asked.
    if (engine.showDockIcon().value()) {
        openMainWindow(std::nullopt);
    }
    if (options.previewPanel) {
        views_->panelPreview.reset(makePanelPreviewWindow(engine, host_->timers().clock(), panelActions()));
        views_->panelPreview->show();
    }
    return QApplication::exec();
}

PanelActions ApplicationShell::panelActions() {
    return PanelActions{
        .openMainWindow = [this](const std::optional<QString>& section) { openMainWindow(section); },
        .closePanel = {},
        .quit = [this] { quit(); }};
}

void ApplicationShell::openPanel(QRect trayGeometry) {
    // A second click on the item closes the panel it opened.
    if (views_->panel) {
        views_->panel->close();
        return;
    }
    views_->panel = PanelPopup::open(host_->engine(), host_->timers().clock(), panelActions(), trayGeometry);
}

void ApplicationShell::openMainWindow(const std::optional<QString>& section) {
    if (section) {
        host_->settings().setValue(QString::fromLatin1(SettingsStore::selectedSectionKey), *section);
    }
    if (!views_->mainWindow) {
        views_->mainWindow = std::make_unique<MainWindow>(host_->engine(), host_->settings(),
                                                          *views_->loginItem, *views_->notifications);
    }
    views_->mainWindow->present();
}

void ApplicationShell::quit() {
    HALVOREN_LOG_DEFAULT(logApp) << "quit requested";
    host_->shutDown([path = runMarkerPath_](int code) {
        HALVOREN_LOG_DEFAULT(logApp) << "terminating";
        RunMarker::remove(path);
        QApplication::exit(code);
    });
}

bool displayAvailable() {
#if defined(__APPLE__)
    return true;
#else
    return !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
#endif
}

} // namespace halvoren
