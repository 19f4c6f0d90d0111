#include "ui/theme/symbols.h"

#include "ui/fan_mark.h"

#include <QFontDatabase>
#include <QPainter>
#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace halvoren::theme {

namespace {

constexpr std::array symbols{
    SymbolGlyph{"arrow.down.right", "south_east", 0xf1e4},
    SymbolGlyph{"arrow.right", "east", 0xf1df},
    SymbolGlyph{"arrow.up.right", "north_east", 0xf1e1},
    SymbolGlyph{"battery.100percent", "battery_full", 0xe1a4},
    SymbolGlyph{"bell.badge.fill", "notifications_active", 0xe7f7},
    SymbolGlyph{"bell.slash.fill", "notifications_off", 0xe7f6},
    SymbolGlyph{"bolt.badge.checkmark", "offline_bolt", 0xe932},
    SymbolGlyph{"bolt.fill", "bolt", 0xea0b},
    SymbolGlyph{"bolt.horizontal.fill", "electric_bolt", 0xec1c},
    SymbolGlyph{"bolt.shield.fill", "gpp_good", 0xf013},
    SymbolGlyph{"chart.bar.fill", "bar_chart", 0xe26b},
    SymbolGlyph{"checkmark", "check", 0xe5ca},
    SymbolGlyph{"checkmark.circle.fill", "check_circle", 0xe86c},
    SymbolGlyph{"checkmark.seal.fill", "verified", 0xef76},
    SymbolGlyph{"chevron.right", "chevron_right", 0xe5cc},
    SymbolGlyph{"chevron.up.chevron.down", "unfold_more", 0xe5d7},
    SymbolGlyph{"circle.dashed", "radio_button_unchecked", 0xe836},
    SymbolGlyph{"cloud.bolt.fill", "thunderstorm", 0xebdb},
    SymbolGlyph{"cloud.fill", "cloud", 0xe2bd},
    SymbolGlyph{"cloud.sun.fill", "filter_drama", 0xe3dd},
    SymbolGlyph{"cpu", "memory", 0xe322},
    SymbolGlyph{"cpu.fill", "memory", 0xe322},
    SymbolGlyph{"cube.fill", "view_in_ar", 0xe9fe},
    SymbolGlyph{"exclamationmark.triangle.fill", "warning", 0xe002},
    SymbolGlyph{"fan.slash", "mode_fan_off", 0xec17},
    SymbolGlyph{"film.fill", "movie", 0xe02c},
    SymbolGlyph{"flame", "whatshot", 0xe80e},
    SymbolGlyph{"flame.fill", "local_fire_department", 0xef55},
    SymbolGlyph{"gamecontroller.fill", "sports_esports", 0xea28},
    SymbolGlyph{"gauge.with.dots.needle.67percent", "speed", 0xe9e4},
    SymbolGlyph{"gauge.with.needle", "speed", 0xe9e4},
    SymbolGlyph{"gearshape", "settings", 0xe8b8},
    SymbolGlyph{"gearshape.fill", "settings", 0xe8b8},
    SymbolGlyph{"internaldrive.fill", "storage", 0xe1db},
    SymbolGlyph{"list.bullet.rectangle.fill", "list_alt", 0xe0ee},
    SymbolGlyph{"lock.shield.fill", "admin_panel_settings", 0xef3d},
    SymbolGlyph{"memorychip", "developer_board", 0xe30d},
    SymbolGlyph{"mic.fill", "mic", 0xe029},
    SymbolGlyph{"minus.plus.batteryblock.fill", "battery_std", 0xe1a5},
    SymbolGlyph{"moon.fill", "dark_mode", 0xe51c},
    SymbolGlyph{"pencil", "edit", 0xe3c9},
    SymbolGlyph{"pin.fill", "push_pin", 0xf10d},
    SymbolGlyph{"plus", "add", 0xe145},
    SymbolGlyph{"power", "power_settings_new", 0xe8ac},
    SymbolGlyph{"powerplug.fill", "power", 0xe63c},
    SymbolGlyph{"sensor", "sensors", 0xe51e},
    SymbolGlyph{"speedometer", "speed", 0xe9e4},
    SymbolGlyph{"square.and.arrow.up", "ios_share", 0xe6b8},
    SymbolGlyph{"square.grid.2x2.fill", "grid_view", 0xe9b0},
    SymbolGlyph{"sun.max.fill", "wb_sunny", 0xe430},
    SymbolGlyph{"timer", "timer", 0xe425},
    SymbolGlyph{"trash", "delete", 0xe872},
    SymbolGlyph{"wifi", "wifi", 0xe63e},
    SymbolGlyph{"wind", "air", 0xefd8},
    SymbolGlyph{"xmark.circle.fill", "cancel", 0xe5c9},
    SymbolGlyph{"xmark.octagon.fill", "dangerous", 0xe99a},
};

constexpr const char* materialIconsFile =
    "/usr/share/fonts/truetype/material-design-icons-iconfont/MaterialIcons-Regular.ttf";

QString materialFamily() {
    static const QString family = [] {
        const int id = QFontDatabase::addApplicationFont(QString::fromLatin1(materialIconsFile));
        const QStringList families = QFontDatabase::applicationFontFamilies(id);
        // Installed system-wide, fontconfig finds it by name even if the file moved.
        return families.isEmpty() ? QStringLiteral("Material Icons") : families.front();
    }();
    return family;
}

} // namespace

std::span<const SymbolGlyph> symbolTable() {
    return symbols;
}

bool isFanMarkSymbol(std::string_view symbol) {
    return symbol == "fan.fill" || symbol == "fanblades.fill";
}

std::optional<char32_t> symbolCodePoint(std::string_view symbol) {
    const auto* found =
        std::lower_bound(symbols.begin(), symbols.end(), symbol,
                         [](const SymbolGlyph& glyph, std::string_view name) { return glyph.symbol < name; });
    if (found == symbols.end() || found->symbol != symbol) {
        return std::nullopt;
    }
    return found->codePoint;
}

QFont symbolFont(double pixelSize) {
    QFont font(materialFamily());
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(pixelSize))));
    font.setStyleStrategy(QFont::NoFontMerging);
    return font;
}

void paintSymbol(QPainter& painter, const QRectF& rect, std::string_view symbol, const QColor& color,
                 double angle) {
    if (isFanMarkSymbol(symbol)) {
        const double side = std::min(rect.width(), rect.height());
        paintFanMark(painter, QRectF(rect.center() - QPointF(side / 2, side / 2), QSizeF(side, side)), angle,
                     color);
        return;
    }
    const std::optional<char32_t> codePoint = symbolCodePoint(symbol);
    if (!codePoint) {
        return;
    }
    painter.save();
    painter.setRenderHint(QPainter::TextAntialiasing);
    // The font's em box is the icon's square.
    painter.setFont(symbolFont(std::min(rect.width(), rect.height())));
    painter.setPen(color);
    if (angle != 0.0) {
        painter.translate(rect.center());
        painter.rotate(angle * 180.0 / std::numbers::pi);
        painter.translate(-rect.center());
    }
    const char32_t text[] = {*codePoint};
    painter.drawText(rect, Qt::AlignCenter, QString::fromUcs4(text, 1));
    painter.restore();
}

} // namespace halvoren::theme
