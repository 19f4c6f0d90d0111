#include "ui/theme/backdrop.h"

#include "core/json_support.h"

#include <QLinearGradient>
#include <QPainter>
#include <QRadialGradient>
#include <algorithm>
#include <cmath>

namespace halvoren::theme {

namespace {

// Colours are written as hex for reading; `a` is the opacity.
constexpr BackdropRGB hex(std::uint32_t rgb, double a = 1.0) {
    return {((rgb >> 16) & 0xFF) / 255.0, ((rgb >> 8) & 0xFF) / 255.0, (rgb & 0xFF) / 255.0, a};
}

constexpr BackdropInk ink(BackdropRGB light, BackdropRGB dark) {
    return {light, dark};
}

BackdropStyle aurora() {
    return {
        {{0.2, 0.0},
         {0.8, 1.0},
         {{0.0, hex(0xD9E3FA)}, {0.55, hex(0xCCD2F4)}, {1.0, hex(0xE6E6F8)}},
         {{0.0, hex(0x0A1030)}, {0.55, hex(0x171C4E)}, {1.0, hex(0x232563)}}},
        {BackdropGlow{ink(hex(0x8FD8F0, 0.55), hex(0x2FB7C9, 0.38)), {0.5, 1.08}, 0.72},
         BackdropGlow{ink(hex(0xA9A2F2, 0.45), hex(0x4B3FB8, 0.45)), {0.08, 0.05}, 0.6},
         BackdropBand{ink(hex(0x9BE7D2, 0.30), hex(0x3FD3A6, 0.16)), {0.0, 0.35}, {1.0, 0.75}, 0.45, 0.18},
         BackdropSpeckles{90, 0xA0A0A0A0ULL, {0.4, 1.1}, 0.0, ink(hex(0xFFFFFF, 0.55), hex(0xFFFFFF, 0.6))}},
        {ink(hex(0x5060A0, 0.10), hex(0x000000, 0.45)), 0.55}};
}

BackdropStyle space() {
    return {
        {{0.5, 0.0},
         {0.5, 1.0},
         {{0.0, hex(0x3A4060)}, {1.0, hex(0x545B80)}},
         {{0.0, hex(0x040509)}, {1.0, hex(0x0B0D18)}}},
        {BackdropBand{ink(hex(0xB9B7D6, 0.22), hex(0x8C88B8, 0.20)), {0.0, 1.0}, {1.0, 0.0}, 0.5, 0.34},
         BackdropBand{ink(hex(0xE8D9C8, 0.16), hex(0xC9B49A, 0.12)), {0.0, 1.0}, {1.0, 0.0}, 0.52, 0.12},
         BackdropSpeckles{220, 0x5EED5EEDULL, {0.3, 0.9}, 0.0, ink(hex(0xFFFFFF, 0.7), hex(0xFFFFFF, 0.8))},
         BackdropSpeckles{14, 0x0B51D7ULL, {0.9, 1.5}, 2.5, ink(hex(0xDCE6FF, 0.8), hex(0xDCE6FF, 0.9))}},
        {ink(hex(0x000000, 0.35), hex(0x000000, 0.6)), 0.5}};
}

BackdropStyle winter() {
    return {
        {{0.5, 0.0},
         {0.5, 1.0},
         {{0.0, hex(0xCFE2F1)}, {0.6, hex(0xE6F1F8)}, {1.0, hex(0xFBFDFF)}},
         {{0.0, hex(0x15222F)}, {0.6, hex(0x2A3E50)}, {1.0, hex(0x4D6578)}}},
        {BackdropGlow{ink(hex(0xFFFFFF, 0.9), hex(0xDDEBF5, 0.30)), {0.5, 1.15}, 0.7},
         BackdropGlow{ink(hex(0xB8D8F0, 0.35), hex(0x5E8AB0, 0.25)), {0.9, 0.1}, 0.5},
         BackdropSpeckles{120, 0xF205700ULL, {0.5, 1.6}, 1.5, ink(hex(0xFFFFFF, 0.85), hex(0xFFFFFF, 0.35))}},
        {ink(hex(0x6A8AA8, 0.12), hex(0x000000, 0.40)), 0.6}};
}

BackdropStyle nebula() {
    return {{{0.0, 0.0},
             {1.0, 1.0},
             {{0.0, hex(0xE4DAF6)}, {1.0, hex(0xCFC1EE)}},
             {{0.0, hex(0x150B28)}, {1.0, hex(0x291447)}}},
            {BackdropGlow{ink(hex(0xF29AD2, 0.55), hex(0xC8359A, 0.45)), {0.68, 0.38}, 0.55},
             BackdropGlow{ink(hex(0xB49BF0, 0.45), hex(0x5B2FB0, 0.40)), {0.2, 0.8}, 0.5},
             BackdropBand{ink(hex(0x7A5AA8, 0.10), hex(0x08040F, 0.35)), {0.1, 0.0}, {0.9, 1.0}, 0.55, 0.10},
             BackdropSpeckles{160, 0xD057ULL, {0.3, 1.0}, 0.8, ink(hex(0xFFF0FA, 0.6), hex(0xFFD9F0, 0.55))}},
            {ink(hex(0x403060, 0.12), hex(0x000000, 0.50)), 0.5}};
}

BackdropStyle abyss() {
    return {
        {{0.5, 0.0},
         {0.5, 1.0},
         {{0.0, hex(0xBFE0DE)}, {1.0, hex(0x8DBFC2)}},
         {{0.0, hex(0x06303A)}, {0.6, hex(0x041D24)}, {1.0, hex(0x020B0F)}}},
        {BackdropBand{ink(hex(0xFFFFFF, 0.22), hex(0x8FE3E0, 0.10)), {0.25, 0.0}, {0.75, 0.4}, 0.35, 0.10},
         BackdropBand{ink(hex(0xFFFFFF, 0.16), hex(0x8FE3E0, 0.07)), {0.45, 0.0}, {0.95, 0.35}, 0.55, 0.08},
         BackdropGlow{ink(hex(0xE9FFF8, 0.55), hex(0x5FE0C8, 0.30)), {0.32, 0.92}, 0.28},
         BackdropSpeckles{70, 0xAB755ULL, {0.4, 1.2}, 1.0, ink(hex(0xFFFFFF, 0.45), hex(0xB8FFF2, 0.35))}},
        {ink(hex(0x1E4A50, 0.15), hex(0x000000, 0.55)), 0.5}};
}

BackdropStyle graphite() {
    return {{{0.5, 0.0},
             {0.5, 1.0},
             {{0.0, hex(0xEBEBEB)}, {1.0, hex(0xD5D5D5)}},
             {{0.0, hex(0x2B2B2B)}, {1.0, hex(0x1A1A1A)}}},
            {BackdropGlow{ink(hex(0xFFFFFF, 0.55), hex(0xFFFFFF, 0.06)), {0.3, 0.0}, 0.7},
             BackdropSpeckles{60, 0x62A9ULL, {0.3, 0.8}, 0.0, ink(hex(0x000000, 0.06), hex(0xFFFFFF, 0.08))}},
            {ink(hex(0x000000, 0.08), hex(0x000000, 0.35)), 0.6}};
}

QColor colorOf(const BackdropRGB& rgb) {
    return QColor::fromRgbF(static_cast<float>(rgb.r), static_cast<float>(rgb.g), static_cast<float>(rgb.b),
                            static_cast<float>(rgb.a));
}

QColor transparent(QColor color) {
    color.setAlphaF(0.0F);
    return color;
}

QPointF at(const QRectF& rect, UnitPoint point) {
    return {rect.left() + point.x * rect.width(), rect.top() + point.y * rect.height()};
}

// SplitMix64: one 64-bit state, one output per call.
struct SplitMix64 {
    std::uint64_t state;

    std::uint64_t next() {
        std::uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27U)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31U);
    }
    // The top 53 bits as a fraction in [0, 1).
    double unit() { return static_cast<double>(next() >> 11U) * 0x1.0p-53; }
};

void paintLayer(QPainter& painter, const QRectF& rect, const BackdropGlow& glow, Appearance appearance,
                double /*textureScale*/) {
    const QColor color = inkColor(glow.ink, appearance);
    QRadialGradient gradient(at(rect, glow.center),
                             std::max(rect.width(), rect.height()) * std::max(glow.endRadiusFraction, 1e-6));
    gradient.setColorAt(0.0, color);
    gradient.setColorAt(1.0, transparent(color));
    painter.fillRect(rect, gradient);
}

void paintLayer(QPainter& painter, const QRectF& rect, const BackdropBand& band, Appearance appearance,
                double /*textureScale*/) {
    const QColor color = inkColor(band.ink, appearance);
    QLinearGradient gradient(at(rect, band.start), at(rect, band.end));
    const double half = std::max(band.width, 1e-6) / 2.0;
    gradient.setColorAt(std::clamp(band.center - half, 0.0, 1.0), transparent(color));
    gradient.setColorAt(std::clamp(band.center, 0.0, 1.0), color);
    gradient.setColorAt(std::clamp(band.center + half, 0.0, 1.0), transparent(color));
    painter.fillRect(rect, gradient);
}

void paintLayer(QPainter& painter, const QRectF& rect, const BackdropSpeckles& layer, Appearance appearance,
                double textureScale) {
    const double scale = std::max(textureScale, 0.0);
    const SpeckleShape shape{
        layer.count, layer.seed, {layer.radius.lower * scale, layer.radius.upper * scale}};
    const QColor color = inkColor(layer.ink, appearance);
    painter.setPen(Qt::NoPen);
    if (layer.blur <= 0.0) {
        painter.fillPath(shape.path(rect), color);
        return;
    }
    // A soft halo: the ink at the dot's edge fading out over `blur`.
    for (const Speckle& speckle : shape.speckles(rect)) {
        const double outer = speckle.radius + layer.blur * scale;
        QRadialGradient halo(speckle.center, std::max(outer, 1e-6));
        halo.setColorAt(0.0, color);
        halo.setColorAt(std::clamp(speckle.radius / std::max(outer, 1e-6), 0.0, 1.0), color);
        halo.setColorAt(1.0, transparent(color));
        painter.setBrush(halo);
        painter.drawEllipse(speckle.center, outer, outer);
    }
}

} // namespace

std::string_view displayName(BackdropScene scene) {
    switch (scene) {
    case BackdropScene::aurora:
        return "Aurora";
    case BackdropScene::space:
        return "Space";
    case BackdropScene::winter:
        return "Winter";
    case BackdropScene::nebula:
        return "Nebula";
    case BackdropScene::abyss:
        return "Abyss";
    case BackdropScene::graphite:
        return "Graphite";
    }
    return {};
}

std::string_view summary(BackdropScene scene) {
    switch (scene) {
    case BackdropScene::aurora:
        return "Blue-indigo sweep with a horizon glow";
    case BackdropScene::space:
        return "Near-black sky, Milky Way lane, starfield";
    case BackdropScene::winter:
        return "Pale ice, white horizon, drifting frost";
    case BackdropScene::nebula:
        return "Magenta bloom over violet, with dust";
    case BackdropScene::abyss:
        return "Deep teal, light shafts, single low light";
    case BackdropScene::graphite:
        return "Neutral charcoal, no hue";
    }
    return {};
}

const BackdropStyle& backdropStyle(BackdropScene scene) {
    static const std::array<BackdropStyle, 6> styles{aurora(), space(), winter(),
                                                     nebula(), abyss(), graphite()};
    const auto index = static_cast<std::size_t>(scene);
    return styles.at(index < styles.size() ? index : 0);
}

std::optional<BackdropScene> launchArgumentOverride(const QStringList& arguments) {
    static const QString prefix = QStringLiteral("--backdrop=");
    std::optional<BackdropScene> chosen;
    for (const QString& argument : arguments) {
        if (argument.startsWith(prefix)) {
            const QByteArray raw = argument.mid(prefix.size()).toUtf8();
            if (const auto scene =
                    fromRawValue<BackdropScene>(std::string_view(raw.constData(), raw.size()))) {
                chosen = scene;
            }
        }
    }
    return chosen;
}

QColor inkColor(const BackdropInk& ink, Appearance appearance) {
    return colorOf(appearance == Appearance::light ? ink.light : ink.dark);
}

std::vector<Speckle> SpeckleShape::speckles(const QRectF& rect) const {
    std::vector<Speckle> result;
    result.reserve(static_cast<std::size_t>(std::max(count, 0)));
    SplitMix64 generator{seed};
    for (int i = 0; i < count; ++i) {
        const double x = generator.unit();
        const double y = generator.unit();
        const double r = generator.unit();
        result.push_back({{rect.left() + x * rect.width(), rect.top() + y * rect.height()},
                          radius.lower + r * (radius.upper - radius.lower)});
    }
    return result;
}

QPainterPath SpeckleShape::path(const QRectF& rect) const {
    QPainterPath path;
    for (const Speckle& speckle : speckles(rect)) {
        path.addEllipse(speckle.center, speckle.radius, speckle.radius);
    }
    return path;
}

void paintBackdrop(QPainter& painter, const QRectF& rect, const BackdropStyle& style, Appearance appearance,
                   double textureScale) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipRect(rect);
    QLinearGradient sweep(at(rect, style.sweep.start), at(rect, style.sweep.end));
    for (const BackdropStop& stop : appearance == Appearance::light ? style.sweep.light : style.sweep.dark) {
        sweep.setColorAt(std::clamp(stop.location, 0.0, 1.0), colorOf(stop.color));
    }
    painter.fillRect(rect, sweep);
    for (const BackdropLayer& layer : style.layers) {
        std::visit([&](const auto& payload) { paintLayer(painter, rect, payload, appearance, textureScale); },
                   layer);
    }
    const QColor edge = inkColor(style.vignette.ink, appearance);
    const double halfDiagonal = std::hypot(rect.width(), rect.height()) / 2.0;
    QRadialGradient vignette(rect.center(), std::max(halfDiagonal, 1e-6));
    vignette.setColorAt(std::clamp(style.vignette.innerFraction, 0.0, 1.0), transparent(edge));
    vignette.setColorAt(1.0, edge);
    painter.fillRect(rect, vignette);
    painter.restore();
}

const QPixmap& BackdropCache::pixmap(QSize size, double devicePixelRatio, BackdropScene scene,
                                     Appearance appearance, double textureScale) {
    const Key key{size, devicePixelRatio, scene, appearance, textureScale};
    if (key_ == key) {
        return pixmap_;
    }
    const double ratio = devicePixelRatio > 0.0 ? devicePixelRatio : 1.0;
    pixmap_ = QPixmap(size * ratio);
    pixmap_.setDevicePixelRatio(ratio);
    if (!size.isEmpty()) {
        QPainter painter(&pixmap_);
        paintBackdrop(painter, QRectF(QPointF(0, 0), QSizeF(size)), backdropStyle(scene), appearance,
                      textureScale);
    }
    key_ = key;
    return pixmap_;
}

} // namespace halvoren::theme
