#include "gui/window/ScreenFit_p.h"

#include <QGuiApplication>
#include <QResizeEvent>
#include <QScreen>
#include <QStyle>
#include <QWidget>
#include <QWindow>

#include <algorithm>

namespace {

QMargins frameMargins(const QWidget &window)
{
    // Not QWidget's, which keeps what it once heard.
    const QWindow *const handle = window.windowHandle();
    const QMargins margins = handle ? handle->frameMargins() : QMargins();
    const int least = std::min({margins.left(), margins.top(), margins.right(), margins.bottom()});
    if (!margins.isNull() && least >= 0)
        return margins;
    // It is the window manager's, and not known yet; while it is being made the toolkit tells negative ones.
    const int bar = window.style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, &window);
    return {bar / 4, bar, bar / 4, bar / 4};
}

void fitUnplaced(QWidget &window)
{
    ScreenFit::fit(window);
    // The next time that it is shown it is placed anew.
    window.setAttribute(Qt::WA_Moved, false);
}

} // namespace

void ScreenFit::fit(QWidget &window, const QSize &least)
{
    if (window.windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen))
        return;
    QRect place = window.geometry();
    const QScreen *screen = QGuiApplication::screenAt(place.center());
    const QRect whole = (screen ? screen : QGuiApplication::primaryScreen())->availableGeometry();
    const QRect available = whole.marginsRemoved(frameMargins(window));
    const QSize size = place.size().expandedTo(least).boundedTo(available.size());
    place.setSize(size.expandedTo(window.minimumSize()));
    place.moveLeft(qBound(available.left(), place.left(), available.right() + 1 - place.width()));
    if (place.width() > available.width())
        place.moveLeft(whole.center().x() - place.width() / 2);
    place.moveTop(qBound(available.top(), place.top(), available.bottom() + 1 - place.height()));
    if (place != window.geometry())
        window.setGeometry(place);
}

void ScreenFit::onShown(QWidget &window, const QShowEvent &event)
{
    if (!event.spontaneous() && window.isWindow())
        fitUnplaced(window);
}

void ScreenFit::onResized(QWidget &window, const QResizeEvent &event)
{
    const bool grows = event.size() != event.size().boundedTo(event.oldSize());
    // What the user does comes from the window system.
    if (grows && !event.spontaneous() && window.isVisible() && window.isWindow()
        && !window.testAttribute(Qt::WA_Moved))
        fitUnplaced(window);
}
