#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

#include <memory>

class CNotificationBox;

/**
 * The notification boxes on screen, stacked at the top right corner (top left where the layout runs from
 * right to left), the newest on top. A box stands on the screen of its parent, else on the primary one; one
 * that is a part of its parent's window stands in that window. The group places and moves the boxes and owns
 * none of them. GUI thread only.
 *
 * A box enters it when it is shown and leaves it when it goes, whichever way it goes. When screens come, go
 * or change, the boxes find their places anew.
 */
class KOVGUI_EXPORT CNotificationBoxGroup : public QObject
{
    Q_OBJECT

public:
    /// Created on first use.
    static CNotificationBoxGroup &instance();
    /// Boxes on screen stay where they are.
    static void destroy();

    /// Lets the box slide in at the corner, and the others make room. A box that is in the stack is left
    /// alone.
    void addMessage(CNotificationBox &box);
    /// Lets the box slide out, then closes it with the result that it has by then. One that does so already
    /// goes on.
    void closeMessage(CNotificationBox &box);
    /// Whether closeMessage() was called for the box.
    static bool isClosing(const CNotificationBox &box);
    /// Takes the box off the stack; the ones below it move up. Nothing happens for a box that is not in the
    /// stack.
    void messageClosed(CNotificationBox &box);
    /// Moves the boxes of all screens that rest, or are on their way to rest, below fromY (in pixels of the
    /// screen) by dy.
    void moveMessages(int fromY, int dy);

public Q_SLOTS:
    /// Gives the newest box the keyboard, which no box takes by itself: for a shortcut of the application.
    /// When the box goes, what had the keyboard before has it again.
    void activateNewest();
    /// Gives the keyboard to the newest box, from a box to the one that came before it, and from the oldest
    /// back to what had it at first: for a shortcut that works in all windows of the application.
    void activateNext();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    CNotificationBoxGroup();
    ~CNotificationBoxGroup() override;

    class Private;
    const std::unique_ptr<Private> d;
};
