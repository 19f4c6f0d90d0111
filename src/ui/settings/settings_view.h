#pragma once

#include "core/sensor.h"
#include "ui/engine_watch.h"

#include <QWidget>
#include <functional>
#include <map>
#include <optional>

class QComboBox;
class QLabel;
class QScrollArea;
class QTimeEdit;
class QVBoxLayout;

namespace halvoren {

class ActionButton;
class HalvorenEngine;
class LoginItem;
class ModuleCard;
class SpeedSlider;
class StatusBadge;
class ToggleSwitch;

// Checking for a new version of the program, where the platform offers one.
struct Updater {
    std::function<bool()> automaticallyChecks;
    std::function<void(bool)> setAutomaticallyChecks;
    std::function<void()> checkNow;
};

// The Settings section: a scrolling column of glass cards, one per group of settings, each
// row reading an engine field and writing it through the engine's setter. It holds no settings
// of its own; a change made elsewhere shows at once.
class SettingsView : public QWidget {
public:
    // Fractions and alphas ride integer sliders at this resolution.
    static constexpr int fineScale = 1000;

    SettingsView(HalvorenEngine& engine, LoginItem& loginItem, std::optional<Updater> updater = std::nullopt,
                 QWidget* parent = nullptr);
    ~SettingsView() override;
    SettingsView(const SettingsView&) = delete;
    SettingsView& operator=(const SettingsView&) = delete;

    // Registers or unregisters the program as a login item; a failure shows its text under the
    // switch, which falls back to what the system reports.
    void setLoginItem(bool enabled);

    QScrollArea& scroller() const { return *scroller_; }
    ToggleSwitch& toggle(const QString& label) const;
    SpeedSlider& slider(const QString& name) const;
    QComboBox& picker(const QString& label) const;
    QTimeEdit& quietFrom() const { return *quietFrom_; }
    QTimeEdit& quietUntil() const { return *quietUntil_; }
    QLabel& loginItemError() const { return *loginError_; }
    StatusBadge& helperBadge() const { return *badge_; }
    ModuleCard* lastErrorCard() const { return lastErrorCard_; }
    ModuleCard* updatesCard() const { return updatesCard_; }
    ActionButton& restoreDefaults() const { return *restore_; }
    QLabel& valueLabel(const QString& name) const;

private:
    struct AlertRow;
    ModuleCard* card(QVBoxLayout* column, const QString& title);
    ToggleSwitch* addToggle(QVBoxLayout* rows, const QString& label);
    SpeedSlider* addSlider(QVBoxLayout* rows, const QString& label, const QString& name, int low, int high,
                           int labelWidth = 0, int valueWidth = 56);
    void buildGeneral(QVBoxLayout* column);
    void buildFanBehavior(QVBoxLayout* column);
    void buildPower(QVBoxLayout* column);
    void buildQuietHours(QVBoxLayout* column);
    void buildAlerts(QVBoxLayout* column);
    void buildMenuBar(QVBoxLayout* column);
    void buildHelper(QVBoxLayout* column);
    void buildUpdates(QVBoxLayout* column);
    void buildLastError(QVBoxLayout* column);
    void buildRestore(QVBoxLayout* column);
    // Binds a switch both ways to a Bool field.
    void bindToggle(ToggleSwitch* toggle, const Observable<bool>& field, std::function<void(bool)> write);
    void refresh();

    HalvorenEngine& engine_;
    LoginItem& loginItem_;
    std::optional<Updater> updater_;
    QScrollArea* scroller_;
    std::map<QString, ToggleSwitch*> toggles_;
    std::map<QString, SpeedSlider*> sliders_;
    std::map<QString, QLabel*> values_;
    std::map<QString, QComboBox*> pickers_;
    std::vector<std::function<void()>> refreshers_;
    std::vector<std::unique_ptr<AlertRow>> alertRows_;
    QLabel* loginError_ = nullptr;
    QTimeEdit* quietFrom_ = nullptr;
    QTimeEdit* quietUntil_ = nullptr;
    StatusBadge* badge_ = nullptr;
    ModuleCard* lastErrorCard_ = nullptr;
    QLabel* lastErrorText_ = nullptr;
    ModuleCard* updatesCard_ = nullptr;
    ActionButton* restore_ = nullptr;
    bool refreshing_ = false;
    EngineWatch watch_;
};

} // namespace halvoren
