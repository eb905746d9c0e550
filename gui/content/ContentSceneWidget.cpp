#include "gui/content/ContentSceneWidget_p.h"

#include "gui/content/HostedWidget_p.h"

#include <QFocusEvent>
#include <QQuickItem>
#include <QQuickWindow>

namespace {

Qt::FocusReason tabReason(bool next)
{
    return next ? Qt::TabFocusReason : Qt::BacktabFocusReason;
}

bool isInside(const QQuickItem *item, const QQuickItem *part)
{
    while (item && item != part)
        item = item->parentItem();
    return item;
}

/// Gives the keyboard to an item of the scene, or to the widget that it hosts.
void give(QWidget *scene, QQuickItem *item, Qt::FocusReason reason)
{
    auto *const hosted = qobject_cast<HostedWidget *>(item);
    // The scene still thinks so when the widget above it has passed the focus on to somebody else.
    if (hosted && hosted->hasActiveFocus())
        hosted->takeFocus(reason);
    else
        item->forceActiveFocus(reason);
    if (!hosted && !scene->hasFocus())
        scene->setFocus(Qt::OtherFocusReason);
}

} // namespace

ContentSceneWidget::ContentSceneWidget(QWidget *parent)
    : QQuickWidget(parent)
{
    setResizeMode(QQuickWidget::SizeRootObjectToView);
    setFocusPolicy(Qt::StrongFocus);
}

ContentSceneWidget::~ContentSceneWidget() = default;

bool ContentSceneWidget::focusInside(QQuickItem *part, bool first)
{
    if (!part)
        return false;
    QQuickItem *item
        = part->activeFocusOnTab() && part->isEnabled() ? part : part->nextItemInFocusChain(first);
    if (!item || !isInside(item, part) || !item->activeFocusOnTab())
        return false;
    give(this, item, tabReason(first));
    return true;
}

bool ContentSceneWidget::focusFrom(QQuickItem *item, bool next)
{
    QQuickItem *const border = end(next);
    if (!border)
        return leave(next);
    QQuickItem *const following = item ? item->nextItemInFocusChain(next) : border;
    // Behind the last one comes the first one again.
    if (!following || (item && following == border))
        return leave(next);
    give(this, following, tabReason(next));
    return true;
}

bool ContentSceneWidget::focusNextPrevChild(bool next)
{
    QQuickItem *item = quickWindow()->activeFocusItem();
    return focusFrom(item && item->activeFocusOnTab() ? item : nullptr, next);
}

void ContentSceneWidget::focusInEvent(QFocusEvent *event)
{
    QQuickWidget::focusInEvent(event);
    if (event->reason() != Qt::TabFocusReason && event->reason() != Qt::BacktabFocusReason)
        return;
    const bool first = event->reason() == Qt::TabFocusReason;
    if (QQuickItem *item = end(first))
        give(this, item, event->reason());
}

/// The first or last item that Tab stops at; null when there is none.
QQuickItem *ContentSceneWidget::end(bool first) const
{
    QQuickItem *item = rootObject() ? quickWindow()->contentItem()->nextItemInFocusChain(first) : nullptr;
    return item && item->activeFocusOnTab() ? item : nullptr;
}

bool ContentSceneWidget::leave(bool next)
{
    QWidget *const view = parentWidget();
    QWidget *widget = this;
    do {
        widget = next ? widget->nextInFocusChain() : widget->previousInFocusChain();
        const bool takesTab
            = (widget->focusPolicy() & Qt::TabFocus) && widget->isEnabled() && widget->isVisible();
        if (takesTab && widget->window() == window() && !view->isAncestorOf(widget)) {
            widget->setFocus(tabReason(next));
            return true;
        }
    } while (widget != this);
    // The view is alone in its window.
    QQuickItem *item = end(next);
    if (!item)
        return false;
    give(this, item, tabReason(next));
    return true;
}
