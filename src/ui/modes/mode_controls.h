#pragma once

#include "ui/components/accent_button.h"

#include <string>

namespace halvoren {

// One symbol of the editor's grid; the checked one sits on an accent wash.
class SymbolSwatch : public AccentButton {
public:
    explicit SymbolSwatch(std::string symbol, QWidget* parent = nullptr);
    const std::string& symbol() const { return symbol_; }
    QSize sizeHint() const override { return {40, 40}; }

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override;

private:
    std::string symbol_;
};

} // namespace halvoren
