#include "ui/theme/backdrop.h"
#include "ui/ui_test_support.h"

#include <QImage>
#include <QPainter>

namespace halvoren::theme {
namespace {

using BackdropTest = UiTest;

TEST(SpeckleShapeTest, TheSameSeedDrawsTheSameSkyAtAnySize) {
    const SpeckleShape shape{200, 42, {0.5, 1.5}};
    const QRectF small(10, 20, 300, 200);
    const QRectF large(0, 0, 1200, 800);
    const auto first = shape.speckles(small);
    const auto again = shape.speckles(small);
    const auto scaled = shape.speckles(large);
    ASSERT_EQ(first.size(), 200U);
    ASSERT_EQ(scaled.size(), 200U);
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(first[i].center, again[i].center);
        EXPECT_TRUE(small.contains(first[i].center)) << i;
        EXPECT_TRUE(large.contains(scaled[i].center)) << i;
        EXPECT_GE(first[i].radius, 0.5);
        EXPECT_LE(first[i].radius, 1.5);
        // The same sky: each dot at the same share of the picture, with the same size.
        EXPECT_NEAR((first[i].center.x() - 10) / 300, scaled[i].center.x() / 1200, 1e-9);
        EXPECT_NEAR((first[i].center.y() - 20) / 200, scaled[i].center.y() / 800, 1e-9);
        EXPECT_EQ(first[i].radius, scaled[i].radius);
    }
    EXPECT_NE(SpeckleShape({200, 43, {0.5, 1.5}}).speckles(small)[0].center, first[0].center);
    EXPECT_TRUE(SpeckleShape({0, 42, {0.5, 1.5}}).path(small).isEmpty());
    EXPECT_TRUE(SpeckleShape({-3, 42, {0.5, 1.5}}).path(small).isEmpty());
}

TEST(BackdropOverrideTest, OnlyAValidRawValueOverrides) {
    struct Case {
        QStringList arguments;
        std::optional<BackdropScene> expected;
    };
    const Case cases[] = {
        {{"halvoren", "--backdrop=nebula"}, BackdropScene::nebula},
        {{"halvoren"}, std::nullopt},
        {{"halvoren", "--backdrop=marsh"}, std::nullopt},
        {{"halvoren", "--backdrop="}, std::nullopt},
        {{"halvoren", "--backdrop=Nebula"}, std::nullopt},
        {{"halvoren", "--backdrop", "nebula"}, std::nullopt},
        {{"halvoren", "--backdrop=nebula "}, std::nullopt},
        {{"halvoren", "--backdrop=space", "--backdrop=abyss"}, BackdropScene::abyss},
        {{"halvoren", "--backdrop=space", "--backdrop=marsh"}, BackdropScene::space},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(launchArgumentOverride(c.arguments), c.expected) << c.arguments.join(' ').toStdString();
    }
}

TEST(BackdropStyleTest, GraphiteHasNoHue) {
    const auto grey = [](const BackdropRGB& rgb) { return rgb.r == rgb.g && rgb.g == rgb.b; };
    const BackdropStyle& style = backdropStyle(BackdropScene::graphite);
    for (const auto* stops : {&style.sweep.light, &style.sweep.dark}) {
        for (const BackdropStop& stop : *stops) {
            EXPECT_TRUE(grey(stop.color));
        }
    }
    for (const BackdropLayer& layer : style.layers) {
        std::visit(
            [&](const auto& payload) { EXPECT_TRUE(grey(payload.ink.light) && grey(payload.ink.dark)); },
            layer);
    }
}

TEST_F(BackdropTest, TheCacheRendersAgainOnlyWhenSomethingDrawnChanges) {
    BackdropCache cache;
    const qint64 first = cache.pixmap({320, 200}, 1.0, BackdropScene::aurora, Appearance::dark).cacheKey();
    EXPECT_EQ(cache.pixmap({320, 200}, 1.0, BackdropScene::aurora, Appearance::dark).cacheKey(), first);
    struct Change {
        QSize size;
        double ratio;
        BackdropScene scene;
        Appearance appearance;
        double texture;
    };
    for (const Change c : {Change{{321, 200}, 1.0, BackdropScene::aurora, Appearance::dark, 1.0},
                           Change{{320, 200}, 2.0, BackdropScene::aurora, Appearance::dark, 1.0},
                           Change{{320, 200}, 1.0, BackdropScene::space, Appearance::dark, 1.0},
                           Change{{320, 200}, 1.0, BackdropScene::aurora, Appearance::light, 1.0},
                           Change{{320, 200}, 1.0, BackdropScene::aurora, Appearance::dark, 2.0}}) {
        const qint64 base = cache.pixmap({320, 200}, 1.0, BackdropScene::aurora, Appearance::dark).cacheKey();
        const QPixmap& changed = cache.pixmap(c.size, c.ratio, c.scene, c.appearance, c.texture);
        EXPECT_NE(changed.cacheKey(), base);
        EXPECT_EQ(changed.size(), c.size * c.ratio);
    }
    EXPECT_TRUE(cache.pixmap({0, 0}, 1.0, BackdropScene::aurora, Appearance::dark).isNull());
}

// Drawn twice the picture is the same; the texture scale changes the speckles and nothing else.
TEST_F(BackdropTest, ScenesRedrawIdenticallyAndTextureScalesOnlyTheSpeckles) {
    const auto render = [](const BackdropStyle& style, double texture) {
        QImage image(200, 120, QImage::Format_ARGB32_Premultiplied);
        QPainter painter(&image);
        paintBackdrop(painter, QRectF(0, 0, 200, 120), style, Appearance::dark, texture);
        return image;
    };
    for (const BackdropScene scene : allCases<BackdropScene>()) {
        EXPECT_EQ(render(backdropStyle(scene), 1.0), render(backdropStyle(scene), 1.0)) << rawValue(scene);
    }
    BackdropStyle plain = backdropStyle(BackdropScene::space);
    std::erase_if(plain.layers,
                  [](const BackdropLayer& layer) { return std::holds_alternative<BackdropSpeckles>(layer); });
    EXPECT_EQ(render(plain, 1.0), render(plain, 3.0));
    EXPECT_NE(render(backdropStyle(BackdropScene::space), 1.0),
              render(backdropStyle(BackdropScene::space), 3.0));
}

} // namespace
} // namespace halvoren::theme
