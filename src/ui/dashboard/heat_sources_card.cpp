#include "ui/dashboard/heat_sources_card.h"

#include "engine/halvoren_engine.h"
#include "platform/quit_program.h"
#include "ui/components/notice_view.h"
#include "ui/panel/panel_buttons.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"

#include <QFontMetricsF>
#include <QHBoxLayout>
#include <QIcon>
#include <QPainter>
#include <QVBoxLayout>

namespace halvoren {

HeatSourceRow::HeatSourceRow(QWidget* parent)
    : QWidget(parent)
    , quit_(new FooterButton(QString(), "xmark.circle.fill", this)) {
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    quit_->hide();
    QObject::connect(quit_, &QAbstractButton::clicked, this, [this] {
        if (onQuit_) {
            onQuit_(source_.name);
        }
    });
}

void HeatSourceRow::setSource(const HeatSource& source) {
    source_ = source;
    const QString name = QString::fromStdString(source_.name);
    quit_->setTitle(QStringLiteral("Quit ") + name);
    setAccessibleName(name + QStringLiteral(", ") + dashboard::heatShareText(source_.cpuShare));
    resizeEvent(nullptr);
    update();
}

void HeatSourceRow::enterEvent(QEnterEvent* event) {
    QWidget::enterEvent(event);
    hovered_ = true;
    quit_->show();
    update();
}

void HeatSourceRow::leaveEvent(QEvent* event) {
    QWidget::leaveEvent(event);
    hovered_ = false;
    quit_->hide();
    update();
}

void HeatSourceRow::resizeEvent(QResizeEvent* /*event*/) {
    const QSize hint = quit_->sizeHint();
    quit_->setGeometry(width() - 60 - hint.width(), (height() - hint.height()) / 2, hint.width(),
                       hint.height());
}

void HeatSourceRow::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const theme::Appearance look = theme::currentAppearance();
    const QRectF area(rect());
    if (hovered_) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(look == theme::Appearance::dark ? QColor(255, 255, 255, 20)
                                                         : QColor(255, 255, 255, 140));
        painter.drawRoundedRect(area, 9.0, 9.0);
    }
    const QString name = QString::fromStdString(source_.name);
    const QRectF iconRect(area.left() + 8, area.center().y() - 11, 22, 22);
    const QIcon icon = QIcon::fromTheme(name.toLower());
    if (!icon.isNull()) {
        icon.paint(&painter, iconRect.toRect());
    } else {
        // No icon of its own: its initial on a small tile.
        painter.setPen(Qt::NoPen);
        QColor tile = theme::secondaryColor(look);
        tile.setAlphaF(0.18F);
        painter.setBrush(tile);
        painter.drawRoundedRect(iconRect, 6.0, 6.0);
        painter.setFont(theme::font(theme::FontRole::bodyEmphasis));
        painter.setPen(theme::primaryColor(look));
        painter.drawText(iconRect, Qt::AlignCenter, name.left(1).toUpper());
    }
    painter.setFont(theme::font(theme::FontRole::rowValue));
    painter.setPen(theme::secondaryColor(look));
    const QRectF share(area.right() - 58, area.top(), 48, area.height());
    theme::drawTabularText(painter, share, Qt::AlignRight | Qt::AlignVCenter,
                           dashboard::heatShareText(source_.cpuShare));
    painter.setFont(theme::font(theme::FontRole::body));
    painter.setPen(theme::primaryColor(look));
    const double right = quit_->isVisible() ? quit_->geometry().left() - 8.0 : share.left() - 8.0;
    const QRectF text(iconRect.right() + 10, area.top(), right - iconRect.right() - 10, area.height());
    painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     QFontMetricsF(painter.font()).elidedText(name, Qt::ElideRight, text.width()));
}

HeatSourcesCard::HeatSourcesCard(const HalvorenEngine& engine, QWidget* parent)
    : ModuleCard(parent)
    , engine_(engine)
    , tabs_(new PresetTabs(this))
    , empty_(new NoticeView(NoticeView::Style::emptyState, "cpu", this)) {
    setTitle(QStringLiteral("Heat Sources"));
    setFrost(engine_.glassFrost().value());
    setPadding(18);
    auto* column = new QVBoxLayout(this);
    column->setSpacing(4);
    auto* tabRow = new QHBoxLayout(tabs_);
    tabRow->setContentsMargins(0, 0, 0, 0);
    tabRow->setSpacing(0);
    for (const auto& choice : {std::pair{dashboard::HeatSourceMode::live, "Live"},
                               std::pair{dashboard::HeatSourceMode::today, "Today"}}) {
        const dashboard::HeatSourceMode mode = choice.first;
        auto* tab =
            tabs_->addTab(new PresetTabButton(QString::fromLatin1(choice.second), std::string(), QString()));
        tabRow->addWidget(tab);
        QObject::connect(tab, &QAbstractButton::clicked, this, [this, mode] { setMode(mode); });
    }
    tabs_->setAccent(theme::accentColor(engine_.accentChoice().value()));
    tabs_->setAccessibleName(QStringLiteral("Heat sources period"));
    tabs_->setMaximumWidth(200);
    column->addWidget(tabs_);
    column->addSpacing(6);
    for (auto& row : rows_) {
        row = new HeatSourceRow(this);
        row->setOnQuit([](const std::string& name) { askApplicationToQuit(name); });
        column->addWidget(row);
    }
    column->addWidget(empty_);
    watch_.on(engine_.heatSources(), [this] { refresh(); });
    watch_.on(engine_.dailyHeatSources(), [this] { refresh(); });
    tabs_->setCurrent(0);
    refresh();
}

void HeatSourcesCard::setOnQuit(const std::function<void(const std::string&)>& quit) {
    for (HeatSourceRow* row : rows_) {
        row->setOnQuit(quit);
    }
}

void HeatSourcesCard::setMode(dashboard::HeatSourceMode mode) {
    mode_ = mode;
    tabs_->setCurrent(static_cast<int>(mode));
    refresh();
}

void HeatSourcesCard::refresh() {
    const auto shown = dashboard::displayedHeatSources(mode_, engine_.heatSources().value(),
                                                       engine_.dailyHeatSources().value());
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        rows_[i]->setVisible(i < shown.size());
        if (i < shown.size()) {
            rows_[i]->setSource(shown[i]);
        }
    }
    const dashboard::EmptyStateText empty = dashboard::heatSourcesEmptyState(mode_);
    empty_->setText(empty.title, empty.detail);
    empty_->setVisible(shown.empty());
}

} // namespace halvoren
