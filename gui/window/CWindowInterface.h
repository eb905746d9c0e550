#pragma once

#include "gui/KovGuiGlobal.h"

#include <QFlags>
#include <QtPlugin>

/**
 * What the message system asks of a window: may it carry a message?
 *
 * A host's own top-level windows implement it (Q_INTERFACES(CWindowInterface)) when they are neither a
 * QMainWindow nor a QWizard and still want to be parents of messages.
 */
class KOVGUI_EXPORT CWindowInterface
{
public:
    enum CustomWindowFlag {
        NoCustomFlags = 0x0,
        /// No frame and no title bar from the window manager.
        FramelessWindow = 0x1,
        /// Size and position are kept in the settings, per window title.
        SaveGeometry = 0x2,
        /// Never a parent of messages, whatever the class says.
        NotAParent = 0x4,
    };
    Q_DECLARE_FLAGS(CustomWindowFlags, CustomWindowFlag)

    virtual ~CWindowInterface();
    virtual CustomWindowFlags customWindowFlags() const = 0;
    /// True when a message box may be attached to this window.
    virtual bool canBeParent() const = 0;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(CWindowInterface::CustomWindowFlags)
Q_DECLARE_INTERFACE(CWindowInterface, "com.tessarine.WindowInterface/1.0")
