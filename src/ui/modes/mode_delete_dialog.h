#pragma once

#include "ui/components/sheet_dialog.h"

class QLabel;

namespace halvoren {

class FooterButton;
class ActionButton;

// Asks before a custom mode goes for good: "Delete" accepts, "Cancel" and Escape reject.
class ModeDeleteDialog : public SheetDialog {
public:
    ModeDeleteDialog(const QString& message, const QColor& accent, QWidget* parent = nullptr);

    QLabel& message() const { return *message_; }
    ActionButton& deleteButton() const { return *delete_; }
    FooterButton& cancelButton() const { return *cancel_; }

private:
    QLabel* message_;
    ActionButton* delete_;
    FooterButton* cancel_;
};

} // namespace halvoren
