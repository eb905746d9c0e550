#include "gui/window/ProgressBar_p.h"

#include <QStyleOptionProgressBar>
#include <QStylePainter>

void ProgressBar::paintEvent(QPaintEvent *event)
{
    QStyleOptionProgressBar option;
    initStyleOption(&option);
    const auto place = [&](QStyle::SubElement part) { return style()->subElementRect(part, &option, this); };
    // Beside the bar, where the style of Windows has it, it is a text like any other.
    const bool isOnBar = place(QStyle::SE_ProgressBarContents).contains(place(QStyle::SE_ProgressBarLabel));
    if (!isRightToLeft() || !isTextVisible() || orientation() != Qt::Horizontal || maximum() <= minimum()
        || !isOnBar) {
        QProgressBar::paintEvent(event);
        return;
    }
    QStylePainter painter(this);
    option.textVisible = false;
    painter.drawControl(QStyle::CE_ProgressBar, option);

    const qint64 range = qint64(maximum()) - minimum();
    const int done = int(width() * qMax(qint64(value()) - minimum(), qint64(0)) / range);
    const QRect doneRect(invertedAppearance() ? 0 : width() - done, 0, done, height());
    const auto drawText = [&](const QRegion &region, QPalette::ColorRole color) {
        painter.setClipRegion(region);
        painter.drawItemText(rect(), Qt::AlignCenter, palette(), isEnabled(), option.text, color);
    };
    drawText(QRegion(rect()) - doneRect, QPalette::Text);
    drawText(doneRect, QPalette::HighlightedText);
}
