#pragma once

#include "ui/components/scale_in_transition.h"
#include "ui/engine_watch.h"
#include "ui/main_window/window_sections.h"

#include <QWidget>
#include <array>
#include <optional>

class QLabel;
class QSettings;
class QShortcut;
class QStackedWidget;

namespace halvoren {

class AmbientBackdrop;
class DashboardView;
class FooterButton;
class FirstRunWizardView;
class HalvorenEngine;
class ModesView;
class LoginItem;
class NotificationCenter;
class PowerView;
class SensorsView;
class SettingsView;
class Sidebar;
class WindowBanner;

// The main window: a sidebar of the sections beside the chosen section under a toolbar and the
// banners, over the backdrop scene. The section is kept in the settings, shared with whoever
// opens the window. The engine is told whether the window is on screen (the heat sampler
// hurries while it is). Closing it hides it; the program goes on in the menu bar.
class MainWindow : public QWidget {
public:
    static constexpr QSize defaultSize{1100, 800};
    static constexpr QSize minimumContentSize{820, 620};
    static constexpr int detailMinimumWidth = 560;

    // The login item and the notifications serve Settings and the first-run wizard.
    MainWindow(HalvorenEngine& engine, QSettings& settings, LoginItem& loginItem,
               NotificationCenter& notifications, QWidget* parent = nullptr);
    ~MainWindow() override;

    // Shows the window on the stored section, centred on the screen with the pointer the first
    // time, and raises it.
    void present();
    void selectSection(Section section);
    Section section() const { return section_; }

    Sidebar& sidebar() const { return *sidebar_; }
    FooterButton& turboButton() const { return *turbo_; }
    WindowBanner& helperBanner() const { return *helperBanner_; }
    WindowBanner& overheatBanner() const { return *overheatBanner_; }
    DashboardView& dashboard() const { return *dashboard_; }
    SensorsView& sensors() const { return *sensors_; }
    PowerView& power() const { return *power_; }
    ModesView& modes() const { return *modes_; }
    SettingsView& settingsView() const { return *settingsView_; }
    // The wizard covering the window until the first-run setup is done; none afterwards.
    FirstRunWizardView* wizard() const { return wizard_; }
    const std::array<QShortcut*, sections.size()>& shortcuts() const { return shortcuts_; }
    const ScaleInTransition& transition() const { return transition_; }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void refreshHelper();
    void refreshTurbo();
    void refreshOverheat();
    void refreshWizard();

    HalvorenEngine& engine_;
    QSettings& settings_;
    AmbientBackdrop* backdrop_;
    Sidebar* sidebar_;
    QLabel* title_;
    FooterButton* turbo_;
    WindowBanner* overheatBanner_;
    WindowBanner* helperBanner_;
    QStackedWidget* pages_;
    DashboardView* dashboard_;
    SensorsView* sensors_;
    PowerView* power_;
    ModesView* modes_;
    SettingsView* settingsView_;
    LoginItem& loginItem_;
    NotificationCenter& notifications_;
    QWidget* content_ = nullptr;
    FirstRunWizardView* wizard_ = nullptr;
    std::array<QShortcut*, sections.size()> shortcuts_{};
    Section section_ = Section::dashboard;
    EngineWatch watch_;
    ScaleInTransition transition_;
    bool placed_ = false;
};

} // namespace halvoren
