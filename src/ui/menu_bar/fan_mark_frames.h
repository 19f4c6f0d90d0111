#pragma once

#include <QColor>
#include <QImage>
#include <QPixmap>
#include <map>
#include <vector>

namespace halvoren {

// The fan mark pre-rendered at one size, turned through one fifth of a revolution: the mark
// has five blades, so those frames show every angle. Each frame is kept as a coverage mask
// and coloured on request; the frames of a colour are kept once made, so a steady tint costs
// one colouring per frame for the life of the item.
class FanMarkFrames {
public:
    static constexpr int framesPerFifth = 24;

    // `pixelSize` device pixels square, shown at `devicePixelRatio`.
    FanMarkFrames(int pixelSize, double devicePixelRatio);

    // The frame that shows the mark turned clockwise by `angle` radians (any angle, NaN as 0).
    static int frameIndex(double angle);

    // Frame `index` in `color`, kept for later.
    const QPixmap& frame(int index, const QColor& color);
    // Frame `index` in `color`, made afresh: for the passing colours of a fade.
    QPixmap tinted(int index, const QColor& color) const;

    int pixelSize() const { return pixelSize_; }

private:
    int pixelSize_;
    double devicePixelRatio_;
    std::vector<QImage> masks_;
    std::map<QRgb, std::vector<QPixmap>> byColor_;
};

} // namespace halvoren
