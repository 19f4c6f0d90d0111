#pragma once

#include <QColor>
#include <QFrame>
#include <optional>

namespace halvoren {

// A glass card holding a layout, with an optional caption title and tint. Its frost comes from
// the user's setting; the appearance is read when it paints.
class ModuleCard : public QFrame {
public:
    explicit ModuleCard(QWidget* parent = nullptr);

    void setTitle(std::optional<QString> title);
    void setTint(std::optional<QColor> tint);
    void setFrost(double frost);
    // Space between the card's edge and its content (and title).
    void setPadding(int padding);

    const std::optional<QString>& title() const { return title_; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool event(QEvent* event) override;

private:
    void updateMargins();

    std::optional<QString> title_;
    std::optional<QColor> tint_;
    double frost_ = 0.0;
    int padding_ = 14;
};

} // namespace halvoren
