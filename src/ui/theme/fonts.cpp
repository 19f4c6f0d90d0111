#include "ui/theme/fonts.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>

namespace halvoren::theme {

namespace {

struct RoleStyle {
    double points;
    QFont::Weight weight;
};

RoleStyle styleOf(FontRole role) {
    switch (role) {
    case FontRole::captionSmall:
        return {9.5, QFont::Medium};
    case FontRole::caption:
        return {10.5, QFont::Medium};
    case FontRole::body:
        return {12.0, QFont::Normal};
    case FontRole::bodyEmphasis:
        return {12.0, QFont::DemiBold};
    case FontRole::rowValue:
        return {12.0, QFont::Medium};
    case FontRole::rowValueLarge:
        return {20.0, QFont::DemiBold};
    case FontRole::panelTitle:
        return {14.0, QFont::DemiBold};
    case FontRole::dialogTitle:
        return {19.0, QFont::Bold};
    case FontRole::heroValue:
        return {34.0, QFont::DemiBold};
    case FontRole::controlDetailEmphasis:
        return {11.0, QFont::Medium};
    case FontRole::controlDetailStrong:
        return {11.0, QFont::DemiBold};
    case FontRole::glyphXS:
        return {10.0, QFont::Normal};
    case FontRole::puckGlyph:
        return {15.0, QFont::Normal};
    case FontRole::bannerGlyph:
        return {20.0, QFont::Normal};
    case FontRole::heroConditionGlyph:
        return {44.0, QFont::Normal};
    }
    return {12.0, QFont::Normal};
}

QFont baseFont() {
#ifdef Q_OS_MACOS
    return QFontDatabase::systemFont(QFontDatabase::GeneralFont);
#else
    QFont inter(QStringLiteral("Inter"));
    // Where Inter is missing, the desktop's font rather than whatever fontconfig substitutes.
    if (!QFontDatabase::hasFamily(QStringLiteral("Inter"))) {
        inter = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    }
    return inter;
#endif
}

} // namespace

bool isNumericRole(FontRole role) {
    return role == FontRole::rowValue || role == FontRole::rowValueLarge || role == FontRole::heroValue ||
           role == FontRole::controlDetailEmphasis || role == FontRole::controlDetailStrong;
}

QFont font(FontRole role) {
    const RoleStyle style = styleOf(role);
    QFont result = baseFont();
    result.setPointSizeF(style.points);
    result.setWeight(style.weight);
    result.setHintingPreference(QFont::PreferNoHinting);
#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0)
    if (isNumericRole(role)) {
        result.setFeature(QFont::Tag("tnum"), 1);
    }
#endif
    return result;
}

#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0)
double tabularTextWidth(const QFont& font, const QString& text) {
    return QFontMetricsF(font).horizontalAdvance(text);
}

void drawTabularText(QPainter& painter, const QRectF& rect, Qt::Alignment alignment, const QString& text) {
    painter.drawText(rect, static_cast<int>(alignment), text);
}
#else
namespace {

// Runs of digits and of everything else, in order; only digits get fixed cells.
template <class Visit>
void forEachRun(const QString& text, Visit visit) {
    qsizetype start = 0;
    while (start < text.size()) {
        const bool digits = text.at(start).isDigit();
        qsizetype end = start;
        while (end < text.size() && text.at(end).isDigit() == digits) {
            ++end;
        }
        visit(text.mid(start, end - start), digits);
        start = end;
    }
}

double digitCell(const QFontMetricsF& metrics) {
    double widest = 0.0;
    for (char digit = '0'; digit <= '9'; ++digit) {
        widest = std::max(widest, metrics.horizontalAdvance(QLatin1Char(digit)));
    }
    return widest;
}

} // namespace

double tabularTextWidth(const QFont& font, const QString& text) {
    const QFontMetricsF metrics(font);
    const double cell = digitCell(metrics);
    double width = 0.0;
    forEachRun(text, [&](const QString& run, bool digits) {
        width += digits ? cell * static_cast<double>(run.size()) : metrics.horizontalAdvance(run);
    });
    return width;
}

void drawTabularText(QPainter& painter, const QRectF& rect, Qt::Alignment alignment, const QString& text) {
    const QFontMetricsF metrics(painter.font());
    const double cell = digitCell(metrics);
    const double width = tabularTextWidth(painter.font(), text);
    double x = rect.left();
    if (alignment & Qt::AlignRight) {
        x = rect.right() - width;
    } else if (alignment & Qt::AlignHCenter) {
        x = rect.center().x() - width / 2.0;
    }
    double baseline = rect.center().y() + (metrics.ascent() - metrics.descent()) / 2.0;
    if (alignment & Qt::AlignTop) {
        baseline = rect.top() + metrics.ascent();
    } else if (alignment & Qt::AlignBottom) {
        baseline = rect.bottom() - metrics.descent();
    }
    forEachRun(text, [&](const QString& run, bool digits) {
        if (!digits) {
            painter.drawText(QPointF(x, baseline), run);
            x += metrics.horizontalAdvance(run);
            return;
        }
        for (const QChar digit : run) {
            painter.drawText(QPointF(x + (cell - metrics.horizontalAdvance(digit)) / 2.0, baseline),
                             QString(digit));
            x += cell;
        }
    });
}
#endif

} // namespace halvoren::theme
