#pragma once

#include "ui/components/sheet_dialog.h"

namespace halvoren {

class FooterButton;
class HalvorenEngine;
class HoldButton;

// Asks for a deliberate press-and-hold before the fans are pulsed; a completed hold starts the
// dust cycle and closes the sheet.
class DustCycleSheet : public SheetDialog {
public:
    static constexpr double holdSeconds = 1.2;

    DustCycleSheet(HalvorenEngine& engine, QWidget* parent = nullptr);

    HoldButton& startButton() const { return *start_; }
    FooterButton& cancelButton() const { return *cancel_; }

private:
    HoldButton* start_;
    FooterButton* cancel_;
};

} // namespace halvoren
