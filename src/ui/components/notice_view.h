#pragma once

#include <QColor>
#include <QString>
#include <QWidget>
#include <optional>
#include <string>

namespace halvoren {

// A line of notice (a symbol and a sentence, in `tint` or the secondary colour), or, as an
// empty state, a larger symbol centred over a title and a detail.
class NoticeView : public QWidget {
public:
    enum class Style { line, emptyState };

    NoticeView(Style style, std::string symbol, QWidget* parent = nullptr);
    void setText(QString title, QString detail = {});
    void setTint(std::optional<QColor> tint);

    const QString& title() const { return title_; }
    const QString& detail() const { return detail_; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Style style_;
    std::string symbol_;
    QString title_;
    QString detail_;
    std::optional<QColor> tint_;
};

} // namespace halvoren
