#pragma once

#include "core/display_settings.h"
#include "ui/theme/backdrop.h"

#include <QWidget>
#include <optional>

namespace halvoren {

// The scene behind a window's cards, drawn once per size, scene and appearance and then only
// copied. An explicit scene (a launch argument, a preview) wins over the user's setting.
class AmbientBackdrop : public QWidget {
public:
    explicit AmbientBackdrop(QWidget* parent = nullptr);

    void setScene(BackdropScene scene);
    void setExplicitScene(std::optional<BackdropScene> scene);
    void setTextureScale(double scale);
    BackdropScene scene() const { return explicitScene_.value_or(scene_); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    BackdropScene scene_ = BackdropScene::aurora;
    std::optional<BackdropScene> explicitScene_;
    double textureScale_ = 1.0;
    theme::BackdropCache cache_;
};

} // namespace halvoren
