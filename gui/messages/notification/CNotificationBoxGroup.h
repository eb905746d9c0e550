#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

#include <memory>

class CNotificationBox;

/**
 * The one stack of notification boxes, at the top right corner of the primary screen, the newest on top. It
 * places and moves the boxes and owns none of them. GUI thread only.
 *
 * A box enters it when it is shown and leaves it when it goes, whichever way it goes.
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
    /// Moves the boxes that rest, or are on their way to rest, below fromY (in screen pixels) by dy.
    void moveMessages(int fromY, int dy);

public Q_SLOTS:
    /// Gives the newest box the keyboard, which no box takes by itself: for a shortcut of the application.
    void activateNewest();

private:
    CNotificationBoxGroup();
    ~CNotificationBoxGroup() override;

    class Private;
    const std::unique_ptr<Private> d;
};
