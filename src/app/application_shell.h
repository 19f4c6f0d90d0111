#pragma once

#include "app/launch_options.h"

#include <QRect>
#include <QString>
#include <memory>
#include <optional>

namespace halvoren {

class EngineHost;
class TerminationSignals;

// The application with its user interface: one engine, the menu-bar item with its panel, the
// main window on request. Closing the window does not quit; quitting from the panel, a signal or
// the session's end all take the one path that hands the fans back and removes the run marker.
class ApplicationShell {
public:
    // `dataDirectory`: where the run marker lives; empty: the program's data folder.
    explicit ApplicationShell(LaunchOptions options, const QString& dataDirectory = {});
    ~ApplicationShell();
    ApplicationShell(const ApplicationShell&) = delete;
    ApplicationShell& operator=(const ApplicationShell&) = delete;

    // Runs the event loop; returns the exit code. Needs a QApplication.
    int exec();
    void quit();

private:
    struct Views;
    struct PanelActions panelActions();
    void openPanel(QRect trayGeometry);
    void openMainWindow(const std::optional<QString>& section);

    std::unique_ptr<EngineHost> host_;
    QString runMarkerPath_;
    std::unique_ptr<TerminationSignals> termination_;
    std::unique_ptr<Views> views_;
};

// Whether a window can be shown: a display server to talk to, or a platform chosen by hand.
bool displayAvailable();

} // namespace halvoren
