#include "ui/fan_mark.h"
#include "ui_test_support.h"

#include <QImage>
#include <QPainter>

namespace halvoren {
namespace {

using FanMarkTest = UiTest;

// The tray draws the mark into squares from 16 to 64 pixels: it must stay inside its square
// (a clipped blade looks broken) and fill most of it (a small mark looks lost).
TEST_F(FanMarkTest, TheMarkFillsItsSquareWithoutLeavingIt) {
    for (const double side : {16.0, 22.0, 64.0}) {
        const QRectF bounds(3.0, 5.0, side, side);
        const QRectF drawn = fanMarkPath(bounds).boundingRect();
        EXPECT_TRUE(bounds.adjusted(-0.01, -0.01, 0.01, 0.01).contains(drawn)) << side;
        EXPECT_GT(drawn.width(), 0.85 * side) << side;
        EXPECT_GT(drawn.height(), 0.85 * side) << side;
    }
}

// Turned by a fifth of a revolution the mark covers the same pixels, so frames chosen by angle
// need only cover one fifth of a turn; a quarter turn does not.
TEST_F(FanMarkTest, AFifthOfATurnLooksTheSame) {
    const auto render = [](double angle) {
        QImage image(64, 64, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        paintFanMark(painter, QRectF(0, 0, 64, 64), angle, Qt::black);
        return image;
    };
    const auto difference = [](const QImage& a, const QImage& b) {
        int differing = 0;
        for (int y = 0; y < a.height(); ++y) {
            for (int x = 0; x < a.width(); ++x) {
                differing += std::abs(qAlpha(a.pixel(x, y)) - qAlpha(b.pixel(x, y))) > 64 ? 1 : 0;
            }
        }
        return differing;
    };
    const QImage rest = render(0.0);
    EXPECT_LT(difference(rest, render(2.0 * M_PI / 5.0)), 20);
    EXPECT_GT(difference(rest, render(M_PI / 4.0)), 200);
}

} // namespace
} // namespace halvoren
