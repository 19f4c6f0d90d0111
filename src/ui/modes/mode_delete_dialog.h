#pragma once

#include <QDialog>

class QLabel;

namespace halvoren {

class FooterButton;
class ActionButton;

// Asks before a custom mode goes for good: "Delete" accepts, "Cancel" and Escape reject.
class ModeDeleteDialog : public QDialog {
public:
    ModeDeleteDialog(const QString& message, const QColor& accent, QWidget* parent = nullptr);

    QLabel& message() const { return *message_; }
    ActionButton& deleteButton() const { return *delete_; }
    FooterButton& cancelButton() const { return *cancel_; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLabel* message_;
    ActionButton* delete_;
    FooterButton* cancel_;
};

} // namespace halvoren
