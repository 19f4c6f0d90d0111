#pragma once

#include "ui/theme/fonts.h"

#include <QDialog>
#include <QString>

class QLabel;

namespace halvoren {

// A sheet over the window: a frameless dialog drawn as an opaque card with the theme's border.
class SheetDialog : public QDialog {
public:
    explicit SheetDialog(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

// A wrapped label in a font role, in the primary or the secondary ink of the current appearance.
QLabel* textLabel(const QString& words, theme::FontRole role, bool primary, QWidget* parent = nullptr);

} // namespace halvoren
