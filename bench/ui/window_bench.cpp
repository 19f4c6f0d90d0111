// Opening the main window and switching its sections, on the simulated Mac with live sensors:
// the time from building the window to its first full paint, and from choosing a section to
// the end of its first full paint. A plain program: painting needs a running application and
// a display (run it under Xvfb, or with QT_QPA_PLATFORM=offscreen).
//
//   halvoren-bench-window [ROUNDS]     (default 20 rounds through every section)

#include "app/engine_host.h"
#include "app/launch_options.h"
#include "engine/halvoren_engine.h"
#include "engine/settings_store.h"
#include "platform/login_item.h"
#include "platform/notification_center.h"
#include "ui/main_window/main_window.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSettings>
#include <QTemporaryDir>
#include <QWindow>
#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <vector>

namespace halvoren {
namespace {

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n == 0 ? 0.0 : (n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2.0);
}

double elapsedMs(const QElapsedTimer& timer) {
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

// Lets the engine's timers and the window's own animations run for a while.
void settle(int ms) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms) {
        QApplication::processEvents(QEventLoop::AllEvents, 20);
    }
}

int run(int rounds) {
    QTemporaryDir scratch;
    qputenv("XDG_DATA_HOME", scratch.filePath(QStringLiteral("data")).toUtf8());
    CommandLine line =
        parseCommandLine({QStringLiteral("--simulate"), QStringLiteral("--no-helper"),
                          QStringLiteral("--load"), QStringLiteral("idle"), QStringLiteral("--settings"),
                          scratch.filePath(QStringLiteral("settings.ini"))});
    {
        // The first-run wizard would cover the sections.
        QSettings stored(scratch.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat);
        stored.setValue(QString::fromLatin1(SettingsStore::hasCompletedFirstRunSetupKey), true);
    }
    EngineHost host(line.options);
    if (const auto problem = host.build()) {
        std::fprintf(stderr, "%s\n", problem->c_str());
        return 1;
    }
    host.start([](const std::string& problem) { std::fprintf(stderr, "%s\n", problem.c_str()); });
    // Sensors, fans and a little history before the first window.
    settle(3000);

    const std::unique_ptr<LoginItem> loginItem =
        xdgAutostartLoginItem(scratch.filePath(QStringLiteral("autostart")));
    const std::shared_ptr<NotificationCenter> notifications = systemNotificationCenter();
    std::vector<double> opens;
    std::map<Section, std::vector<double>> switches;
    for (int round = 0; round < rounds; ++round) {
        QElapsedTimer timer;
        timer.start();
        auto window =
            std::make_unique<MainWindow>(host.engine(), host.settings(), *loginItem, *notifications);
        window->selectSection(Section::dashboard);
        window->show();
        while (window->windowHandle() == nullptr || !window->windowHandle()->isExposed()) {
            if (timer.elapsed() > 5000) {
                std::fprintf(stderr, "the window never appeared\n");
                return 1;
            }
            QApplication::processEvents(QEventLoop::AllEvents, 5);
        }
        window->repaint();
        opens.push_back(elapsedMs(timer));
        settle(100);
        for (const SectionInfo& info : sections) {
            const Section next = info.section == Section::dashboard ? Section::sensors : info.section;
            timer.restart();
            window->selectSection(next);
            window->repaint();
            switches[next].push_back(elapsedMs(timer));
            settle(30);
        }
        timer.restart();
        window->selectSection(Section::dashboard);
        window->repaint();
        switches[Section::dashboard].push_back(elapsedMs(timer));
        settle(30);
    }

    std::printf("platform %s, %d rounds, medians (max)\n", qPrintable(QGuiApplication::platformName()),
                rounds);
    std::printf("  open to first paint        %7.2f ms (%.2f)\n", median(opens),
                *std::max_element(opens.begin(), opens.end()));
    double worst = 0.0;
    for (const SectionInfo& info : sections) {
        const std::vector<double>& times = switches[info.section];
        const double highest = *std::max_element(times.begin(), times.end());
        worst = std::max(worst, highest);
        std::printf("  switch to %-16s %7.2f ms (%.2f)\n", info.title.data(), median(times), highest);
    }
    std::printf("  slowest switch             %7.2f ms (goal < 50 ms)\n", worst);

    bool done = false;
    host.shutDown([&done](int) { done = true; });
    while (!done) {
        QApplication::processEvents(QEventLoop::AllEvents, 50);
    }
    return 0;
}

} // namespace
} // namespace halvoren

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 20;
    return halvoren::run(rounds);
}
