#pragma once

#include "ui/engine_watch.h"
#include "ui/power/power_values.h"

#include <QTimer>
#include <QWidget>
#include <functional>

class QLabel;

namespace halvoren {

class FooterButton;
class HalvorenEngine;
class MiniGraph;
class NoticeView;

// A line of the power card: a tinted symbol, a title and a value at the right.
class PowerRowView : public QWidget {
public:
    explicit PowerRowView(const QColor& tint, QWidget* parent = nullptr);
    void setRow(power::Row row);
    const power::Row& row() const { return row_; }
    QSize sizeHint() const override { return {320, 40}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor tint_;
    power::Row row_;
};

// The Power section: what the fans and the machine draw, the draw's recent history and its
// export as CSV. The engine samples heat more often while this is on screen.
class PowerView : public QWidget {
public:
    static constexpr int flashMilliseconds = 600;
    // Asks where to save, starting from the suggested file; an empty answer cancels.
    using PathChooser = std::function<QString(QWidget* parent, const QString& suggested)>;

    explicit PowerView(HalvorenEngine& engine, QWidget* parent = nullptr);
    ~PowerView() override;
    PowerView(const PowerView&) = delete;
    PowerView& operator=(const PowerView&) = delete;

    void setPathChooser(PathChooser chooser) { chooser_ = std::move(chooser); }
    void exportCSV();

    PowerRowView& fanDrawRow() const { return *fanDraw_; }
    PowerRowView& batteryRow() const { return *battery_; }
    const QString& systemWattsText() const { return systemWatts_; }
    QLabel& caption() const { return *caption_; }
    MiniGraph& graph() const { return *graph_; }
    FooterButton& exportButton() const { return *export_; }
    NoticeView& exportError() const { return *error_; }
    bool justExported() const { return justExported_; }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void refresh();
    void refreshGraph();
    void flashExported();
    void showExportError(const QString& text);
    double systemWatts() const;

    HalvorenEngine& engine_;
    PowerRowView* fanDraw_;
    PowerRowView* battery_;
    QLabel* systemWattsLabel_;
    QLabel* caption_;
    MiniGraph* graph_;
    FooterButton* export_;
    NoticeView* error_;
    PathChooser chooser_;
    QTimer graphTimer_;
    QString systemWatts_;
    bool justExported_ = false;
    int exportGeneration_ = 0;
    EngineWatch watch_;
};

} // namespace halvoren
