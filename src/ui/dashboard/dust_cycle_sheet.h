#pragma once

#include <QDialog>

namespace halvoren {

class FooterButton;
class HalvorenEngine;
class HoldButton;

// Asks for a deliberate press-and-hold before the fans are pulsed; a completed hold starts the
// dust cycle and closes the sheet.
class DustCycleSheet : public QDialog {
public:
    static constexpr double holdSeconds = 1.2;

    DustCycleSheet(HalvorenEngine& engine, QWidget* parent = nullptr);

    HoldButton& startButton() const { return *start_; }
    FooterButton& cancelButton() const { return *cancel_; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    HoldButton* start_;
    FooterButton* cancel_;
};

} // namespace halvoren
