#pragma once

#include "ui/panel/menu_bar_panel.h"

#include <QRect>
#include <QWidget>
#include <functional>

namespace halvoren {

// Where the panel opens: centred under the tray item and kept on its screen, or at the top
// right of the screen with the pointer when the tray gives no geometry.
QPoint panelPosition(const QRect& trayGeometry, const QSize& panelSize, const QRect& screenArea);

// The frameless window the panel lives in while open: rounded, with a soft shadow where the
// platform composites windows. A click outside or Escape closes it, and it is deleted on close.
class PanelPopup : public QWidget {
public:
    // Takes `content` over.
    explicit PanelPopup(QWidget* content);

    // Builds a fresh panel and shows it; `actions.closePanel` is set to close this popup.
    static PanelPopup* open(HalvorenEngine& engine, const Clock& clock, PanelActions actions,
                            const QRect& trayGeometry);

    void popUp(const QRect& trayGeometry);
    bool hasShadow() const { return shadow_ > 0; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    int shadow_;
};

// A normal window, "Panel Preview", holding the same panel; closing the panel closes it.
QWidget* makePanelPreviewWindow(HalvorenEngine& engine, const Clock& clock, PanelActions actions);

} // namespace halvoren
