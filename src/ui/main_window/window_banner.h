#pragma once

#include <QColor>
#include <QString>
#include <QWidget>
#include <string>

namespace halvoren {

class FooterButton;

// A strip over the content: a tinted symbol, a title and a detail, and one button at the end.
class WindowBanner : public QWidget {
public:
    WindowBanner(std::string symbol, QWidget* parent = nullptr);

    void setText(QString title, QString detail);
    void setTint(const QColor& tint);
    // The button at the end; with neither a title nor a symbol there is none.
    void setAction(QString title, std::string symbol);
    FooterButton& action() const { return *action_; }
    const QString& title() const { return title_; }
    const QString& detail() const { return detail_; }
    QSize sizeHint() const override { return {600, detail_.isEmpty() ? 44 : 58}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    std::string symbol_;
    QString title_;
    QString detail_;
    QColor tint_;
    FooterButton* action_ = nullptr;
};

} // namespace halvoren
