#pragma once

#include "core/fan_status.h"

#include <QColor>
#include <QWidget>
#include <functional>
#include <optional>
#include <vector>

namespace halvoren {

class SpeedSlider;
class SpinningGlyph;

// One fan at a glance: a turning fan glyph whose speed follows the fan's place in its range,
// the speed in tabular figures, and a track filled to that place with a tick at the target.
// The regular form names the fan and, in manual control, offers a slider for its target; the
// mini form is the panel's compact meter.
class FanFlowMeter : public QWidget {
public:
    enum class Style { regular, mini };

    explicit FanFlowMeter(Style style, QWidget* parent = nullptr);

    // `sortedIDs` are all fan ids in order; they name the fan by its place.
    void setFan(const FanStatus& fan, std::vector<int> sortedIDs);
    // A target shows the manual slider (regular form only); none hides it.
    void setManualTarget(std::optional<double> rpm);
    void setAccent(const QColor& accent);
    void setReduceMotion(bool reduce);
    // Called with the fan's id and the new target as the manual slider moves.
    void setOnManualTarget(std::function<void(int, double)> onTarget) { onTarget_ = std::move(onTarget); }

    const FanStatus& fan() const { return fan_; }
    SpinningGlyph& glyph() const { return *glyph_; }
    SpeedSlider* manualSlider() const { return slider_; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void refresh();
    QRectF trackRect() const;

    Style style_;
    FanStatus fan_;
    std::vector<int> sortedIDs_;
    QColor accent_{0x1A, 0x94, 0xFA};
    SpinningGlyph* glyph_;
    SpeedSlider* slider_ = nullptr;
    std::function<void(int, double)> onTarget_;
};

} // namespace halvoren
