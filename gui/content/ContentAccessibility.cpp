#include "gui/content/ContentAccessibility_p.h"

#include "gui/content/CContentView.h"
#include "gui/content/ContentSceneWidget_p.h"

#include <QAccessibleObject>
#include <QAccessibleWidget>
#include <QQuickItem>
#include <QQuickWindow>

namespace {

/// The accessible items below an item, the nearest ones: an item that tells nothing is passed through.
void collect(const QQuickItem *item, QList<QAccessibleInterface *> *found)
{
    const auto children = item->childItems();
    for (QQuickItem *child : children) {
        if (!child->isVisible())
            continue;
        if (QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(child))
            found->append(interface);
        else
            collect(child, found);
    }
}

/// The items' own parent is their window, which is none of the screen's: it stands below the widget here.
class SceneInterface : public QAccessibleObject
{
public:
    explicit SceneInterface(QQuickWindow *window)
        : QAccessibleObject(window)
    { }

    QQuickWindow *quickWindow() const { return static_cast<QQuickWindow *>(object()); }
    QAccessibleInterface *parent() const override
    {
        const CContentView *view = CContentView::of(quickWindow());
        return view ? QAccessible::queryAccessibleInterface(view->sceneWidget()) : nullptr;
    }
    QList<QAccessibleInterface *> items() const
    {
        QList<QAccessibleInterface *> found;
        collect(quickWindow()->contentItem(), &found);
        return found;
    }
    int childCount() const override { return items().size(); }
    QAccessibleInterface *child(int index) const override { return items().value(index); }
    int indexOfChild(const QAccessibleInterface *child) const override
    {
        return items().indexOf(const_cast<QAccessibleInterface *>(child));
    }
    QAccessibleInterface *childAt(int x, int y) const override
    {
        const auto all = items();
        for (QAccessibleInterface *item : all) {
            if (item->rect().contains(x, y))
                return item;
        }
        return nullptr;
    }
    QAccessibleInterface *focusChild() const override
    {
        QQuickItem *item = quickWindow()->activeFocusItem();
        return item ? QAccessible::queryAccessibleInterface(item) : nullptr;
    }
    QRect rect() const override
    {
        const QAccessibleInterface *widget = parent();
        return widget ? widget->rect() : QRect();
    }
    QString text(QAccessible::Text) const override { return {}; }
    QAccessible::Role role() const override { return QAccessible::Pane; }
    QAccessible::State state() const override { return {}; }
};

class SceneWidgetInterface : public QAccessibleWidget
{
public:
    explicit SceneWidgetInterface(QWidget *widget)
        : QAccessibleWidget(widget, QAccessible::Pane)
    { }

    QString text(QAccessible::Text which) const override
    {
        const QString own = QAccessibleWidget::text(which);
        return own.isEmpty() && which == QAccessible::Name ? widget()->window()->windowTitle() : own;
    }

    QAccessibleInterface *scene() const
    {
        return QAccessible::queryAccessibleInterface(static_cast<QQuickWidget *>(widget())->quickWindow());
    }
    int childCount() const override { return 1; }
    QAccessibleInterface *child(int index) const override { return index == 0 ? scene() : nullptr; }
    int indexOfChild(const QAccessibleInterface *child) const override { return child == scene() ? 0 : -1; }
    QAccessibleInterface *childAt(int x, int y) const override { return scene()->childAt(x, y); }
    QAccessibleInterface *focusChild() const override { return scene()->focusChild(); }
};

QAccessibleInterface *makeInterface(const QString &, QObject *object)
{
    if (auto *widget = qobject_cast<ContentSceneWidget *>(object))
        return new SceneWidgetInterface(widget);
    auto *window = qobject_cast<QQuickWindow *>(object);
    return CContentView::of(window) ? new SceneInterface(window) : nullptr;
}

} // namespace

void installContentAccessibility()
{
    static bool installed = false;
    if (!installed)
        QAccessible::installFactory(makeInterface);
    installed = true;
}
