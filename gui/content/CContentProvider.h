#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

/// Brings content into a content area and stands behind it: its scenes reach it as "contentProvider".
class KOVGUI_DECLARATIVE_EXPORT CContentProvider : public QObject
{
    Q_OBJECT

public:
    explicit CContentProvider(QObject *parent = nullptr);
    ~CContentProvider() override;

    /// Whether the window with the content may close. True by default.
    virtual bool processCloseEvent();

Q_SIGNALS:
    /// There is nothing to show any more.
    void finished();
};
