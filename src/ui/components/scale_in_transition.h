#pragma once

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>
#include <QWidget>

namespace halvoren {

class ScaleFadeEffect;

// Brings a page in from 98 % of its size while it fades in, as the window's sections change.
// A graphics effect covers the page only while it plays: an effect makes every paint go through
// a pixmap, so the page paints directly again at the end. It keeps its own clock rather than
// Qt's shared animation timer.
class ScaleInTransition {
public:
    static constexpr int durationMs = 200;
    static constexpr double startScale = 0.98;

    ScaleInTransition();
    ~ScaleInTransition();
    ScaleInTransition(const ScaleInTransition&) = delete;
    ScaleInTransition& operator=(const ScaleInTransition&) = delete;

    // Starts on `page`, finishing one still running on another page at once.
    void play(QWidget* page);
    void finish();
    bool isPlaying() const { return page_ != nullptr; }

private:
    void step();

    QPointer<QWidget> page_;
    QPointer<ScaleFadeEffect> effect_;
    QTimer frames_;
    QElapsedTimer clock_;
};

} // namespace halvoren
