#include "ui/menu_bar/fan_mark_frames.h"

#include "ui/fan_mark.h"

#include <QPainter>
#include <cmath>
#include <numbers>

namespace halvoren {

namespace {

constexpr double fifthOfATurn = 2.0 * std::numbers::pi / 5.0;
// The mark stays clear of the square's edge, as the tray's other icons do.
constexpr double inset = 0.06;

} // namespace

FanMarkFrames::FanMarkFrames(int pixelSize, double devicePixelRatio)
    : pixelSize_(pixelSize)
    , devicePixelRatio_(devicePixelRatio) {
    const double margin = pixelSize * inset;
    const QRectF bounds(margin, margin, pixelSize - 2 * margin, pixelSize - 2 * margin);
    masks_.reserve(framesPerFifth);
    for (int i = 0; i < framesPerFifth; ++i) {
        QImage mask(pixelSize, pixelSize, QImage::Format_ARGB32_Premultiplied);
        mask.fill(Qt::transparent);
        QPainter painter(&mask);
        paintFanMark(painter, bounds, fifthOfATurn * i / framesPerFifth, Qt::black);
        painter.end();
        masks_.push_back(std::move(mask));
    }
}

int FanMarkFrames::frameIndex(double angle) {
    if (!std::isfinite(angle)) {
        return 0;
    }
    const double turns = std::fmod(angle, fifthOfATurn) / fifthOfATurn; // -1 ... 1
    const int index = static_cast<int>(std::lround(turns * framesPerFifth)) % framesPerFifth;
    return index < 0 ? index + framesPerFifth : index;
}

const QPixmap& FanMarkFrames::frame(int index, const QColor& color) {
    std::vector<QPixmap>& frames = byColor_[color.rgba()];
    if (frames.empty()) {
        frames.reserve(framesPerFifth);
        for (int i = 0; i < framesPerFifth; ++i) {
            frames.push_back(tinted(i, color));
        }
    }
    return frames.at(static_cast<std::size_t>(index));
}

QPixmap FanMarkFrames::tinted(int index, const QColor& color) const {
    QImage image = masks_.at(static_cast<std::size_t>(index));
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
    painter.end();
    QPixmap pixmap = QPixmap::fromImage(std::move(image));
    pixmap.setDevicePixelRatio(devicePixelRatio_);
    return pixmap;
}

} // namespace halvoren
