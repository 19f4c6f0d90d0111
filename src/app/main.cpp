#include "app/application_shell.h"
#include "app/headless_run.h"
#include "app/launch_options.h"

#include <QApplication>
#include <QCoreApplication>
#include <iostream>

namespace {

void nameTheApplication() {
    QCoreApplication::setOrganizationName(QStringLiteral("Halvoren"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("halvoren.com"));
    QCoreApplication::setApplicationName(QStringLiteral("Halvoren"));
}

} // namespace

int main(int argc, char* argv[]) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    try {
        const halvoren::CommandLine command = halvoren::parseCommandLine(arguments);
        if (command.helpRequested) {
            std::cout << command.helpText;
            return 0;
        }
        bool headless = command.options.headless;
        if (!headless && !halvoren::displayAvailable()) {
            std::cerr
                << "halvoren: no display (neither DISPLAY nor WAYLAND_DISPLAY is set); running headless\n";
            headless = true;
        }
        if (headless) {
            // Nothing headless needs GLib's main loop, and Qt's own dispatcher costs less a wake-up.
            qputenv("QT_NO_GLIB", "1");
            QCoreApplication app(argc, argv);
            nameTheApplication();
            halvoren::HeadlessRun run(command.options);
            return run.exec();
        }
        QApplication app(argc, argv);
        nameTheApplication();
        halvoren::ApplicationShell shell(command.options);
        return shell.exec();
    } catch (const halvoren::UsageError& error) {
        std::cerr << "halvoren: " << error.what() << "\n";
        return 2;
    }
}
