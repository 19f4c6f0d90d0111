#pragma once

#include "ui/engine_watch.h"
#include "ui/first_run/first_run_values.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>
#include <memory>
#include <optional>

class QGraphicsOpacityEffect;
class QLabel;
class QStackedWidget;

namespace halvoren {

class ActionButton;
class FooterButton;
class HalvorenEngine;
class LoginItem;
class NotificationCenter;
class StatusBadge;
class ToggleSwitch;

// The short guided setup over the main window: welcome, the helper, notifications, the login
// item, done. Any step can be left with its goal unmet. "Skip Setup" and "Finish" mark the setup
// as done, which is what removes the wizard; its own state dies with it, so a wizard closed by
// quitting starts over.
class FirstRunWizardView : public QWidget {
public:
    using Step = first_run::Step;
    // While the helper step shows, the helper's state is asked for again this often, so an
    // approval given elsewhere shows on return.
    static constexpr int helperRefreshMilliseconds = 2000;

    FirstRunWizardView(HalvorenEngine& engine, LoginItem& loginItem, NotificationCenter& notifications,
                       QWidget* parent = nullptr);
    ~FirstRunWizardView() override;
    FirstRunWizardView(const FirstRunWizardView&) = delete;
    FirstRunWizardView& operator=(const FirstRunWizardView&) = delete;

    Step step() const { return step_; }
    void goTo(Step step);
    // The main button: the next step, or on the last one the end of the setup.
    void advance();
    void goBack();
    void skip();
    void requestNotifications();
    void setLoginItem(bool enabled);

    bool notificationsRequested() const { return notificationsRequested_; }
    bool notificationsGranted() const { return notificationsGranted_; }
    bool loginItemEnabled() const { return loginItemEnabled_; }
    bool isAnimating() const { return transition_.isActive(); }

    QLabel& title() const { return *title_; }
    QLabel& subtitle() const { return *subtitle_; }
    FooterButton& backButton() const { return *back_; }
    FooterButton& skipButton() const { return *skip_; }
    ActionButton& mainButton() const { return *main_; }
    StatusBadge& helperStatus() const { return *helperStatus_; }
    ActionButton& helperAction() const { return *helperAction_; }
    QLabel& helperNote() const { return *helperNote_; }
    ActionButton& notificationsButton() const { return *notifyButton_; }
    StatusBadge& notificationsStatus() const { return *notifyStatus_; }
    QLabel& notificationsNote() const { return *notifyNote_; }
    ToggleSwitch& loginToggle() const { return *loginToggle_; }
    QLabel& loginError() const { return *loginError_; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QWidget* buildHelperPage();
    QWidget* buildNotificationsPage();
    QWidget* buildLoginPage();
    void refresh();
    void refreshHelper();
    void complete();
    void startTransition();

    HalvorenEngine& engine_;
    LoginItem& loginItem_;
    NotificationCenter& notifications_;
    Step step_ = Step::welcome;
    bool loginItemEnabled_;
    std::optional<QString> loginItemError_;
    bool notificationsRequested_ = false;
    bool notificationsGranted_ = false;

    QWidget* card_;
    QWidget* icon_;
    QLabel* title_;
    QLabel* subtitle_;
    QStackedWidget* bodies_;
    QWidget* dots_;
    FooterButton* back_;
    FooterButton* skip_;
    ActionButton* main_;
    StatusBadge* helperStatus_ = nullptr;
    ActionButton* helperAction_ = nullptr;
    QLabel* helperNote_ = nullptr;
    ActionButton* notifyButton_ = nullptr;
    StatusBadge* notifyStatus_ = nullptr;
    QLabel* notifyNote_ = nullptr;
    ToggleSwitch* loginToggle_ = nullptr;
    QLabel* loginError_ = nullptr;
    QGraphicsOpacityEffect* fade_ = nullptr;
    QTimer helperRefresh_;
    // Step changes run on a timer of their own and the elapsed time, not on Qt's shared
    // animation clock.
    QTimer transition_;
    QElapsedTimer transitionClock_;
    int transitionLength_ = 0;
    std::shared_ptr<int> lifetime_ = std::make_shared<int>(0); // answers after the wizard are dropped
    EngineWatch watch_;
};

} // namespace halvoren
