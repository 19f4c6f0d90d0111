#include "ui/power/power_view.h"

#include "engine/halvoren_engine.h"
#include "platform/atomic_file.h"
#include "ui/components/content_column.h"
#include "ui/components/mini_graph.h"
#include "ui/components/module_card.h"
#include "ui/components/notice_view.h"
#include "ui/panel/panel_buttons.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/symbols.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace halvoren {

namespace {

constexpr int maximumContentWidth = 1180;
const QColor fanTint(0x32, 0xAD, 0xE6);
const QColor batteryTint(0x34, 0xC7, 0x59);

QString chooseWithDialog(QWidget* parent, const QString& suggested) {
    QFileDialog dialog(parent, QStringLiteral("Export Power History"), suggested,
                       QStringLiteral("Comma-separated values (*.csv)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("csv"));
    dialog.setOption(QFileDialog::ReadOnly, false); // folders may be created
    dialog.selectFile(suggested);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        return {};
    }
    return dialog.selectedFiles().constFirst();
}

void setInk(QLabel& label, const QColor& ink) {
    QPalette palette = label.palette();
    palette.setColor(QPalette::WindowText, ink);
    label.setPalette(palette);
}

} // namespace

PowerRowView::PowerRowView(const QColor& tint, QWidget* parent)
    : QWidget(parent)
    , tint_(tint) {
    setAttribute(Qt::WA_TranslucentBackground);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void PowerRowView::setRow(power::Row row) {
    row_ = std::move(row);
    setAccessibleName(row_.title + QStringLiteral(", ") + row_.value);
    update();
}

void PowerRowView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const theme::Appearance look = theme::currentAppearance();
    const QRectF area = QRectF(rect()).adjusted(2, 0, -2, 0);
    QColor wash = tint_;
    wash.setAlphaF(0.16F);
    const QRectF chip(area.left(), area.center().y() - 14, 28, 28);
    painter.setPen(Qt::NoPen);
    painter.setBrush(wash);
    painter.drawRoundedRect(chip, 8.0, 8.0);
    theme::paintSymbol(painter, chip.adjusted(6, 6, -6, -6), row_.symbol, tint_);
    painter.setFont(theme::font(theme::FontRole::body));
    painter.setPen(theme::primaryColor(look));
    painter.drawText(area.adjusted(chip.width() + 12, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter, row_.title);
    painter.setFont(theme::font(theme::FontRole::rowValueLarge));
    theme::drawTabularText(painter, area, Qt::AlignRight | Qt::AlignVCenter, row_.value);
}

PowerView::PowerView(HalvorenEngine& engine, QWidget* parent)
    : QWidget(parent)
    , engine_(engine)
    , fanDraw_(new PowerRowView(fanTint))
    , battery_(new PowerRowView(batteryTint))
    , systemWattsLabel_(new QLabel())
    , caption_(new QLabel())
    , graph_(new MiniGraph())
    , export_(new FooterButton(QString(), std::string()))
    , error_(new NoticeView(NoticeView::Style::line, "exclamationmark.triangle.fill"))
    , chooser_(chooseWithDialog) {
    QVBoxLayout* column = contentColumn(*this, maximumContentWidth, QMargins(28, 8, 28, 28), 18);
    QWidget* holder = column->parentWidget();

    auto* draws = new ModuleCard(holder);
    draws->setTitle(QStringLiteral("Power & Battery"));
    draws->setFrost(engine_.glassFrost().value());
    draws->setPadding(18);
    auto* rows = new QVBoxLayout(draws);
    rows->setSpacing(6);
    rows->addWidget(fanDraw_);
    rows->addWidget(battery_);
    column->addWidget(draws);

    auto* history = new ModuleCard(holder);
    history->setFrost(engine_.glassFrost().value());
    history->setPadding(18);
    auto* lines = new QVBoxLayout(history);
    lines->setSpacing(8);
    auto* top = new QHBoxLayout();
    auto* title = new QLabel(QStringLiteral("Battery Power"));
    title->setFont(theme::font(theme::FontRole::bodyEmphasis));
    setInk(*title, theme::primaryColor(theme::currentAppearance()));
    top->addWidget(title);
    top->addStretch(1);
    systemWattsLabel_->setFont(theme::font(theme::FontRole::rowValueLarge));
    top->addWidget(systemWattsLabel_);
    lines->addLayout(top);
    caption_->setFont(theme::font(theme::FontRole::caption));
    caption_->setWordWrap(true);
    lines->addWidget(caption_);
    graph_->setFixedHeight(46);
    graph_->setLineWidth(1.5);
    const QColor accent = theme::accentColor(engine_.accentChoice().value());
    graph_->setTint(accent);
    lines->addWidget(graph_);
    export_->setAccent(accent);
    export_->setToolTip(QStringLiteral("Export the recent power history as CSV"));
    QObject::connect(export_, &QAbstractButton::clicked, this, [this] { exportCSV(); });
    auto* actions = new QHBoxLayout();
    actions->addWidget(export_);
    actions->addWidget(error_, 1);
    error_->setTint(QColor(0xFF, 0x45, 0x3A));
    error_->hide();
    lines->addLayout(actions);
    column->addWidget(history);
    column->addStretch(1);

    // The stored history is not observed; it grows once a second.
    graphTimer_.setInterval(1000);
    QObject::connect(&graphTimer_, &QTimer::timeout, this, [this] { refreshGraph(); });
    watch_.on(engine_.powerTelemetry(), [this] { refresh(); });
    watch_.on(engine_.fans(), [this] { refresh(); });
    refresh();
    refreshGraph();
}

PowerView::~PowerView() {
    engine_.setPowerPanelVisible(false);
}

double PowerView::systemWatts() const {
    return engine_.powerTelemetry().value().systemWatts;
}

void PowerView::refresh() {
    const PowerTelemetry& telemetry = engine_.powerTelemetry().value();
    const auto& fans = engine_.fans().value();
    fanDraw_->setRow(power::fanDrawRow(fans));
    battery_->setRow(power::batteryRow(telemetry, systemWatts(), fans));
    const theme::Appearance look = theme::currentAppearance();
    systemWatts_ = power::systemWattsText(systemWatts());
    systemWattsLabel_->setText(systemWatts_);
    setInk(*systemWattsLabel_, theme::primaryColor(look));
    caption_->setText(power::busCaption(telemetry.isCharging));
    setInk(*caption_, theme::secondaryColor(look));
    const power::ExportLabel label = power::exportLabel(justExported_);
    export_->setTitle(label.title);
    export_->setSymbol(label.symbol);
    export_->setAccessibleName(QStringLiteral("Export power history as CSV"));
}

void PowerView::refreshGraph() {
    graph_->setSamples(engine_.telemetry().systemWatts().samples());
}

void PowerView::exportCSV() {
    error_->hide();
    const std::optional<std::string> made = engine_.exportHistoryCSV();
    if (!made) {
        showExportError(QString::fromStdString(engine_.lastError().value().value_or("CSV export failed")));
        return;
    }
    const QString source = QString::fromStdString(*made);
    const QString destination = chooser_(this, QFileInfo(source).fileName());
    if (destination.isEmpty()) {
        return;
    }
    QFile file(source);
    if (!file.open(QIODevice::ReadOnly)) {
        showExportError(QStringLiteral("CSV export failed: ") + file.errorString());
        return;
    }
    const QByteArray bytes = file.readAll();
    // Replaces any file there whole, so a failed copy leaves it as it was.
    if (const auto error =
            writeFileAtomically(destination, std::string_view(bytes.constData(), bytes.size()))) {
        showExportError(QStringLiteral("CSV export failed: ") + QString::fromStdString(*error));
        return;
    }
    flashExported();
}

void PowerView::flashExported() {
    const int generation = ++exportGeneration_;
    justExported_ = true;
    refresh();
    // A second export during the flash extends it.
    QTimer::singleShot(flashMilliseconds, this, [this, generation] {
        if (exportGeneration_ == generation) {
            justExported_ = false;
            refresh();
        }
    });
}

void PowerView::showExportError(const QString& text) {
    error_->setText(text);
    error_->show();
}

void PowerView::showEvent(QShowEvent* event) {
    engine_.setPowerPanelVisible(true);
    refreshGraph();
    graphTimer_.start();
    QWidget::showEvent(event);
}

void PowerView::hideEvent(QHideEvent* event) {
    engine_.setPowerPanelVisible(false);
    graphTimer_.stop();
    QWidget::hideEvent(event);
}

} // namespace halvoren
