#pragma once

#include "core/closed_range.h"
#include "core/display_settings.h"
#include "ui/theme/appearance.h"

#include <QColor>
#include <QPainterPath>
#include <QPixmap>
#include <QStringList>
#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>
#include <vector>

class QPainter;

namespace halvoren::theme {

// Scenes are data: colours in unit sRGB with opacity, positions as fractions of the picture.
struct BackdropRGB {
    double r;
    double g;
    double b;
    double a = 1.0;
};

// One colour for each appearance.
struct BackdropInk {
    BackdropRGB light;
    BackdropRGB dark;
};

struct UnitPoint {
    double x;
    double y;
};

// A radial light fading to nothing at `endRadiusFraction` of the picture's longer side.
struct BackdropGlow {
    BackdropInk ink;
    UnitPoint center;
    double endRadiusFraction;
};

// A soft stripe across the line from `start` to `end`: full ink at `center` (a fraction of
// that line), fading to nothing `width` / 2 either side.
struct BackdropBand {
    BackdropInk ink;
    UnitPoint start;
    UnitPoint end;
    double center;
    double width;
};

// Small dots (stars, frost, dust); radii in points, `blur` a soft halo in points.
struct BackdropSpeckles {
    int count;
    std::uint64_t seed;
    ClosedRange radius;
    double blur;
    BackdropInk ink;
};

using BackdropLayer = std::variant<BackdropGlow, BackdropBand, BackdropSpeckles>;

struct BackdropStop {
    double location;
    BackdropRGB color;
};

// The base gradient from `start` to `end`, with its own stops for each appearance.
struct BackdropSweep {
    UnitPoint start;
    UnitPoint end;
    std::vector<BackdropStop> light;
    std::vector<BackdropStop> dark;
};

// Darkened edges: clear inside `innerFraction` of the half-diagonal, `ink` at the corners.
struct BackdropVignette {
    BackdropInk ink;
    double innerFraction;
};

struct BackdropStyle {
    BackdropSweep sweep;
    std::vector<BackdropLayer> layers;
    BackdropVignette vignette;
};

std::string_view displayName(BackdropScene scene);
std::string_view summary(BackdropScene scene);
const BackdropStyle& backdropStyle(BackdropScene scene);

// The scene a launch argument "--backdrop=NAME" asks for, for this run only; names that are
// not a scene's raw value are ignored, and the last valid one wins.
std::optional<BackdropScene> launchArgumentOverride(const QStringList& arguments);

QColor inkColor(const BackdropInk& ink, Appearance appearance);

struct Speckle {
    QPointF center;
    double radius;
};

// Dots placed by a SplitMix64 generator from `seed`: the same seed gives the same sky at any
// size and on every draw, with no state kept between draws.
struct SpeckleShape {
    int count;
    std::uint64_t seed;
    ClosedRange radius;

    std::vector<Speckle> speckles(const QRectF& rect) const;
    QPainterPath path(const QRectF& rect) const;
};

// Sweep, layers in order, vignette. `textureScale` scales only the speckles.
void paintBackdrop(QPainter& painter, const QRectF& rect, const BackdropStyle& style, Appearance appearance,
                   double textureScale = 1.0);

// Renders a scene once and hands the same pixmap back until the size, scene, appearance,
// device pixel ratio or texture scale changes.
class BackdropCache {
public:
    const QPixmap& pixmap(QSize size, double devicePixelRatio, BackdropScene scene, Appearance appearance,
                          double textureScale = 1.0);

private:
    struct Key {
        QSize size;
        double devicePixelRatio;
        BackdropScene scene;
        Appearance appearance;
        double textureScale;
        bool operator==(const Key&) const = default;
    };
    std::optional<Key> key_;
    QPixmap pixmap_;
};

} // namespace halvoren::theme
