#pragma once

#include "core/custom_mode.h"
#include "ui/panel/panel_buttons.h"

#include <QString>
#include <functional>
#include <optional>

namespace halvoren {

// One custom mode in the list: its symbol, name and speed, the shown sensor's temperature, a
// check mark while engaged, and buttons to edit and delete it. A click engages the mode unless
// the row is inert, when its reason is the row's help instead.
class ModeRow : public AccentButton {
public:
    struct Content {
        CustomMode mode;
        bool isActive = false;
        bool canEngage = true;
        std::optional<QString> inertReason;
        QString temperature;
        QString sensorName;
    };

    explicit ModeRow(QWidget* parent = nullptr);

    void setContent(Content content);
    void setOnEngage(std::function<void()> action) { onEngage_ = std::move(action); }
    void setOnEdit(std::function<void()> action) { onEdit_ = std::move(action); }
    void setOnDelete(std::function<void()> action) { onDelete_ = std::move(action); }

    const Content& content() const { return content_; }
    FooterButton& editButton() const { return *edit_; }
    FooterButton& deleteButton() const { return *delete_; }
    static constexpr int rowHeight = 60;
    QSize sizeHint() const override { return {420, rowHeight}; }

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    Content content_;
    FooterButton* edit_;
    FooterButton* delete_;
    std::function<void()> onEngage_;
    std::function<void()> onEdit_;
    std::function<void()> onDelete_;
};

} // namespace halvoren
