#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <optional>
#include <span>
#include <string_view>

class QPainter;

namespace halvoren::theme {

// One design symbol drawn as a Material Icons glyph: the ligature name is kept for reading.
struct SymbolGlyph {
    std::string_view symbol;
    std::string_view material;
    char32_t codePoint;
};

// Every symbol the views and the engine name, sorted by symbol name.
std::span<const SymbolGlyph> symbolTable();

// The glyph for `symbol`, or nothing for the fan (drawn as the program's mark) and unknown names.
std::optional<char32_t> symbolCodePoint(std::string_view symbol);
bool isFanMarkSymbol(std::string_view symbol);

// The icon font at a pixel size, loaded once from the system's Material Icons.
QFont symbolFont(double pixelSize);

// Draws `symbol` centred in `rect`, as large as fits, in `color`. An unknown name draws nothing.
void paintSymbol(QPainter& painter, const QRectF& rect, std::string_view symbol, const QColor& color,
                 double angle = 0.0);

} // namespace halvoren::theme
