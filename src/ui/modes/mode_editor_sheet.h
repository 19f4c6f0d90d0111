#pragma once

#include "core/custom_mode.h"
#include "ui/components/sheet_dialog.h"
#include "ui/modes/mode_values.h"

#include <functional>
#include <optional>
#include <vector>

class QComboBox;
class QLabel;
class QLineEdit;

namespace halvoren {

class FooterButton;
class HalvorenEngine;
class PresetTabs;
class ActionButton;
class SpeedSlider;
class SymbolSwatch;
class ToggleSwitch;

// Makes a new custom mode or changes one: name, symbol, speed style and level, the sensor the
// fans follow and the one shown. Its fields start from the edited mode (or a new mode's
// defaults) each time it opens; "Save" hands the finished mode to `onSave` and closes.
class ModeEditorSheet : public SheetDialog {
public:
    using OnSave = std::function<void(const CustomMode&)>;

    ModeEditorSheet(HalvorenEngine& engine, const std::optional<CustomMode>& editing, OnSave onSave,
                    QWidget* parent = nullptr);

    bool isEditing() const { return isEditing_; }
    const modes::EditorSeed& fields() const { return fields_; }
    void save();

    QLabel& title() const { return *title_; }
    QLineEdit& nameField() const { return *name_; }
    const std::vector<SymbolSwatch*>& swatches() const { return swatches_; }
    PresetTabs& speedStyle() const { return *style_; }
    SpeedSlider& slider() const { return *slider_; }
    QLabel& sliderLabel() const { return *sliderLabel_; }
    QLabel& speedNote() const { return *speedNote_; }
    QComboBox& triggerPicker() const { return *trigger_; }
    QComboBox& displayPicker() const { return *display_; }
    ToggleSwitch& readoutToggle() const { return *readout_; }
    FooterButton& cancelButton() const { return *cancel_; }
    ActionButton& saveButton() const { return *save_; }

private:
    void setFixedSpeed(bool fixed);
    void refreshSpeed();
    void refreshSave();

    OnSave onSave_;
    bool isEditing_;
    modes::EditorSeed fields_;
    std::vector<modes::ModePickerBoxOption> triggerOptions_;
    std::vector<modes::ModePickerBoxOption> displayOptions_;
    QLabel* title_;
    QLineEdit* name_;
    std::vector<SymbolSwatch*> swatches_;
    PresetTabs* style_;
    SpeedSlider* slider_;
    QLabel* sliderLabel_;
    QLabel* sliderValue_;
    QLabel* speedNote_;
    QComboBox* trigger_;
    QComboBox* display_;
    ToggleSwitch* readout_;
    FooterButton* cancel_;
    ActionButton* save_;
};

} // namespace halvoren
