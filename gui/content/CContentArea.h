#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/frame/GUI.h"

#include <QObject>

#include <memory>

class CContentInfo;
class CContentWatcher;
class QQuickItem;
class QWidget;

/**
 * Shows one piece of content at a time in an item of a scene, which it fills; new content moves in while
 * the old one fades. The item's implicit size follows the content's.
 *
 * The first area of a window is a CContentView's; an item of its content can be the container of another
 * area.
 */
class KOVGUI_DECLARATIVE_EXPORT CContentArea : public QObject
{
    Q_OBJECT

public:
    /// @param container  an item made by a QML engine; not owned. Once it is gone the area shows nothing.
    explicit CContentArea(QQuickItem *container, QObject *parent = nullptr);
    ~CContentArea() override;

    /**
     * Shows content in place of what is shown.
     *
     * @param info  taken over; null shows nothing
     * @param animation  ContentAnimationNone, and a style whose animations last 0 ms, exchange it at once
     * @return the content's watcher, which is the area's: valid until the next call. Never null.
     */
    CContentWatcher *setContent(CContentInfo *info, GUI::ContentAnimationType animation);
    /// The scene that is shown; null when there is none, the error page's when it could not be loaded.
    QQuickItem *contentItem() const;

    /// The window that dialogs of the content belong to. Initially null; not owned.
    QWidget *window() const;
    void setWindow(QWidget *window);

private:
    class Private;
    const std::unique_ptr<Private> d;
};
