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
// A fixed width (none when 0) lets a sheet grow to the wrapped lines' height.
QLabel* textLabel(const QString& words, theme::FontRole role, bool primary, QWidget* parent = nullptr,
                  int fixedWidth = 0);

} // namespace halvoren
