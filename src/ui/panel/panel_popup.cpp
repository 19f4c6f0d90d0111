#include "ui/panel/panel_popup.h"

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>

namespace halvoren {

namespace {

constexpr double cornerRadius = 14.0;
constexpr int screenMargin = 8;
constexpr int trayGap = 6;

// Translucent margins show as black without a compositor, which X11 may lack; the other
// platforms always compose.
bool platformComposites() {
    const QString platform = QGuiApplication::platformName();
    return platform != QLatin1String("xcb") && platform != QLatin1String("minimal");
}

} // namespace

QPoint panelPosition(const QRect& trayGeometry, const QSize& panelSize, const QRect& screenArea) {
    const int right = screenArea.right() - screenMargin - panelSize.width() + 1;
    int x = right;
    int y = screenArea.top() + screenMargin;
    if (!trayGeometry.isEmpty()) {
        x = trayGeometry.center().x() - panelSize.width() / 2;
        // A tray at the bottom of the screen opens the panel above it.
        const bool below = trayGeometry.center().y() < screenArea.center().y();
        y = below ? trayGeometry.bottom() + 1 + trayGap : trayGeometry.top() - trayGap - panelSize.height();
    }
    x = std::clamp(x, screenArea.left() + screenMargin, std::max(right, screenArea.left() + screenMargin));
    y = std::clamp(y, screenArea.top(),
                   std::max(screenArea.bottom() + 1 - panelSize.height(), screenArea.top()));
    return {x, y};
}

PanelPopup::PanelPopup(QWidget* content)
    : QWidget(nullptr, Qt::Popup | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint)
    , shadow_(platformComposites() ? 18 : 0) {
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_TranslucentBackground, shadow_ > 0);
    setWindowTitle(QStringLiteral("Halvoren"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(shadow_, shadow_ / 2, shadow_, shadow_ * 3 / 2);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    content->setParent(this);
    layout->addWidget(content);
    setFocusProxy(content);
}

PanelPopup* PanelPopup::open(HalvorenEngine& engine, const Clock& clock, PanelActions actions,
                             const QRect& trayGeometry) {
    auto* holder = new QPointer<PanelPopup>();
    actions.closePanel = [holder] {
        if (*holder) {
            (*holder)->close();
        }
    };
    auto* popup = new PanelPopup(new MenuBarPanel(engine, clock, std::move(actions)));
    *holder = popup;
    QObject::connect(popup, &QObject::destroyed, [holder] { delete holder; });
    popup->popUp(trayGeometry);
    return popup;
}

void PanelPopup::popUp(const QRect& trayGeometry) {
    adjustSize();
    QScreen* screen = trayGeometry.isEmpty() ? QGuiApplication::screenAt(QCursor::pos())
                                             : QGuiApplication::screenAt(trayGeometry.center());
    if (!screen) {
        screen = QGuiApplication::primaryScreen();
    }
    const QRect area = screen ? screen->availableGeometry() : QRect(0, 0, 1440, 900);
    const QPoint inner = panelPosition(trayGeometry, size() - QSize(2 * shadow_, 2 * shadow_), area);
    move(inner - QPoint(shadow_, shadow_ / 2));
    show();
    activateWindow();
    if (focusProxy()) {
        focusProxy()->setFocus(Qt::PopupFocusReason);
    }
}

void PanelPopup::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

void PanelPopup::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (shadow_ == 0) {
        // Without translucency the corners are cut by a mask.
        QPainterPath path;
        path.addRoundedRect(QRectF(rect()), cornerRadius, cornerRadius);
        setMask(QRegion(path.toFillPolygon().toPolygon()));
    }
}

void PanelPopup::paintEvent(QPaintEvent* /*event*/) {
    if (shadow_ == 0) {
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QRectF panel = QRectF(rect()).adjusted(shadow_, shadow_ / 2.0, -shadow_, -shadow_ * 1.5);
    // A soft shadow: rings of falling opacity, offset a little downwards.
    for (int i = shadow_; i > 0; i -= 2) {
        const double t = static_cast<double>(i) / shadow_;
        painter.setBrush(QColor(0, 0, 0, static_cast<int>(10 * (1.0 - t) + 2)));
        painter.drawRoundedRect(panel.adjusted(-i, -i + 4, i, i + 4), cornerRadius + i, cornerRadius + i);
    }
}

QWidget* makePanelPreviewWindow(HalvorenEngine& engine, const Clock& clock, PanelActions actions) {
    auto* window = new QWidget(nullptr, Qt::Window);
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setWindowTitle(QStringLiteral("Panel Preview"));
    QPointer<QWidget> guard(window);
    actions.closePanel = [guard] {
        if (guard) {
            guard->close();
        }
    };
    auto* layout = new QVBoxLayout(window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(new MenuBarPanel(engine, clock, std::move(actions), window));
    return window;
}

} // namespace halvoren
