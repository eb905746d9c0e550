#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

/**
 * Tells what becomes of one piece of content. It speaks from the event loop only, so whoever asked for the
 * content has the time to connect; it says nothing more once other content was asked for, which deletes it.
 */
class KOVGUI_DECLARATIVE_EXPORT CContentWatcher : public QObject
{
    Q_OBJECT

public:
    explicit CContentWatcher(QObject *parent = nullptr);
    ~CContentWatcher() override;

Q_SIGNALS:
    /// The scene is there and may begin to move in. @param content  a QQuickItem
    void contentLoaded(QObject *content);
    /// It has arrived: the animation is over.
    void contentReady();
    /// It could not be loaded. The errors are in the log, and the area shows an error page.
    void contentFailed();
};
