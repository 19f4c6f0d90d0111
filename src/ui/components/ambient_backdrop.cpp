#include "ui/components/ambient_backdrop.h"

#include "ui/theme/appearance.h"

#include <QEvent>
#include <QPaintEvent>
#include <QPainter>

namespace halvoren {

AmbientBackdrop::AmbientBackdrop(QWidget* parent)
    : QWidget(parent) {
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void AmbientBackdrop::setScene(BackdropScene scene) {
    if (scene_ != scene) {
        scene_ = scene;
        update();
    }
}

void AmbientBackdrop::setExplicitScene(std::optional<BackdropScene> scene) {
    if (explicitScene_ != scene) {
        explicitScene_ = scene;
        update();
    }
}

void AmbientBackdrop::setTextureScale(double scale) {
    if (textureScale_ != scale) {
        textureScale_ = scale;
        update();
    }
}

void AmbientBackdrop::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.drawPixmap(
        event->rect(),
        cache_.pixmap(size(), devicePixelRatioF(), scene(), theme::currentAppearance(), textureScale_),
        QRectF(QPointF(event->rect().topLeft()) * devicePixelRatioF(),
               QSizeF(event->rect().size()) * devicePixelRatioF()));
}

void AmbientBackdrop::changeEvent(QEvent* event) {
    // A new palette may be a new appearance; the cache redraws only if it is.
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ApplicationPaletteChange) {
        update();
    }
    QWidget::changeEvent(event);
}

} // namespace halvoren
