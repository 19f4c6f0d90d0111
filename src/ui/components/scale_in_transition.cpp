#include "ui/components/scale_in_transition.h"

#include <QEasingCurve>
#include <QGraphicsEffect>
#include <QPainter>
#include <algorithm>

namespace halvoren {

// Draws its widget scaled about its centre and faded, by an eased progress from 0 to 1.
class ScaleFadeEffect final : public QGraphicsEffect {
public:
    using QGraphicsEffect::QGraphicsEffect;

    void setProgress(double progress) {
        progress_ = QEasingCurve(QEasingCurve::OutCubic).valueForProgress(std::clamp(progress, 0.0, 1.0));
        update();
    }

protected:
    void draw(QPainter* painter) override {
        QPoint offset;
        const QPixmap pixmap = sourcePixmap(Qt::LogicalCoordinates, &offset, QGraphicsEffect::NoPad);
        const double scale =
            ScaleInTransition::startScale + (1.0 - ScaleInTransition::startScale) * progress_;
        const QPointF centre = QRectF(QPointF(offset), pixmap.deviceIndependentSize()).center();
        painter->save();
        painter->setOpacity(progress_);
        painter->setRenderHint(QPainter::SmoothPixmapTransform);
        painter->translate(centre);
        painter->scale(scale, scale);
        painter->translate(-centre);
        painter->drawPixmap(offset, pixmap);
        painter->restore();
    }

private:
    double progress_ = 0.0;
};

ScaleInTransition::ScaleInTransition() {
    frames_.setInterval(16);
    frames_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&frames_, &QTimer::timeout, [this] { step(); });
}

ScaleInTransition::~ScaleInTransition() {
    finish();
}

void ScaleInTransition::play(QWidget* page) {
    finish();
    if (page == nullptr) {
        return;
    }
    page_ = page;
    auto* effect = new ScaleFadeEffect(page);
    effect_ = effect;
    page->setGraphicsEffect(effect);
    clock_.start();
    frames_.start();
}

void ScaleInTransition::finish() {
    frames_.stop();
    if (page_ && effect_ && page_->graphicsEffect() == effect_) {
        // Deletes the effect.
        page_->setGraphicsEffect(nullptr);
    }
    page_ = nullptr;
    effect_ = nullptr;
}

void ScaleInTransition::step() {
    if (!page_ || !effect_) {
        finish();
        return;
    }
    const double progress = static_cast<double>(clock_.elapsed()) / durationMs;
    if (progress >= 1.0) {
        finish();
        return;
    }
    effect_->setProgress(progress);
}

} // namespace halvoren
