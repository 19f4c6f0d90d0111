#pragma once

#include "core/custom_mode.h"
#include "ui/engine_watch.h"

#include <QPointer>
#include <QWidget>
#include <optional>
#include <vector>

class QLabel;
class QScrollArea;
class QVBoxLayout;

namespace halvoren {

class FooterButton;
class HalvorenEngine;
class ModeDeleteDialog;
class ModeEditorSheet;
class ModeRow;
class ModuleCard;
class NoticeView;
class ActionButton;

// The Modes section: the user's custom modes, engaged with a click, made and changed in the
// editor sheet and removed after a confirmation. Every change goes through the engine.
class ModesView : public QWidget {
public:
    explicit ModesView(HalvorenEngine& engine, QWidget* parent = nullptr);

    // Opens the editor on `mode`, or on a new mode without one.
    void openEditor(const std::optional<CustomMode>& mode);
    // Asks whether to delete `mode`.
    void confirmDelete(const CustomMode& mode);

    // "Add Mode", for the window's toolbar: shown while the section is and the Mac has fans.
    FooterButton& addButton() const { return *add_; }
    NoticeView& noFansNotice() const { return *noFans_; }
    ModuleCard& emptyState() const { return *empty_; }
    const std::vector<FooterButton*>& starterButtons() const { return starters_; }
    ActionButton& newModeButton() const { return *newMode_; }
    const std::vector<ModeRow*>& rows() const { return rows_; }
    // The open sheet and dialog, if any.
    ModeEditorSheet* editor() const;
    ModeDeleteDialog* deleteDialog() const;
    const std::optional<CustomMode>& pendingDelete() const { return pendingDelete_; }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void rebuildRows();
    void refresh();

    HalvorenEngine& engine_;
    FooterButton* add_;
    NoticeView* noFans_;
    ModuleCard* empty_;
    std::vector<FooterButton*> starters_;
    ActionButton* newMode_;
    QScrollArea* scroller_;
    ModuleCard* list_;
    QVBoxLayout* listColumn_;
    std::vector<ModeRow*> rows_;
    QPointer<ModeEditorSheet> editor_;
    QPointer<ModeDeleteDialog> deleteDialog_;
    std::optional<CustomMode> pendingDelete_;
    bool onScreen_ = false;
    EngineWatch watch_;
};

} // namespace halvoren
