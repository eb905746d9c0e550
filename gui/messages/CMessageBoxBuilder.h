#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

class CMessageBoxWndBase;
class CMessageInfo;

/// Makes the window of a message. A replaceable policy, registered under "CMessageBoxBuilder".
class KOVGUI_EXPORT CMessageBoxBuilder : public QObject
{
    Q_OBJECT

public:
    Q_INVOKABLE CMessageBoxBuilder();
    ~CMessageBoxBuilder() override;

    /// The registered builder, created on first use and kept for the life of the process; null when none is
    /// registered or the registered class cannot be created (logged).
    static CMessageBoxBuilder *instance();

    /// The window, not shown yet, owned by the parent or, without one, by the caller. Null when it cannot be
    /// built.
    virtual CMessageBoxWndBase *build(const CMessageInfo &message, QWidget *parent);
    /// Whether the box must block its parent as a sheet.
    virtual bool isNeedBlockSheet(const CMessageInfo &message, QWidget *parent);
};
