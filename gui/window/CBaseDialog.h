#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/window/CWindowInterface.h"

#include <QDialog>

/**
 * The base of the library's dialogs.
 *
 * On creation it takes over the dynamic properties "vmUuid" and "serverUuid" of its parent's window. Closing it never
 * quits the application (Qt::WA_QuitOnClose is off). Its exec() marks the dialog with the dynamic property
 * "DynProp_BlockingDialog" while it runs and keeps a delete-on-close dialog alive until exec() has returned.
 */
class KOVGUI_EXPORT CBaseDialog : public QDialog, public CWindowInterface
{
    Q_OBJECT
    Q_INTERFACES(CWindowInterface)

public:
    explicit CBaseDialog(QWidget *parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags(),
                         CustomWindowFlags customFlags = NoCustomFlags);
    ~CBaseDialog() override;

    CustomWindowFlags customWindowFlags() const override;
    /// True unless the flag NotAParent was given.
    bool canBeParent() const override;

public Q_SLOTS:
    /// Window-modal with a parent, plainly shown without one.
    void open() override;
    int exec() override;

private:
    const CustomWindowFlags m_customFlags;
};
