#include "app/headless_run.h"
#include "app/launch_options.h"

#include <QCoreApplication>
#include <iostream>

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Halvoren"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("halvoren.com"));
    QCoreApplication::setApplicationName(QStringLiteral("Halvoren"));
    try {
        const halvoren::CommandLine command =
            halvoren::parseCommandLine(QCoreApplication::arguments().mid(1));
        if (command.helpRequested) {
            std::cout << command.helpText;
            return 0;
        }
        if (!command.options.headless) {
            std::cerr
                << "halvoren: the window is not built yet; run with --headless (and --simulate to try it "
                   "on a simulated Mac)\n";
            return 2;
        }
        halvoren::HeadlessRun run(command.options);
        return run.exec();
    } catch (const halvoren::UsageError& error) {
        std::cerr << "halvoren: " << error.what() << "\n";
        return 2;
    }
}
