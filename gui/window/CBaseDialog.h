#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/window/CWindowInterface.h"

#include <QDialog>

#include <memory>

/**
 * The base of the library's dialogs.
 *
 * On creation it takes over the dynamic properties "vmUuid" and "serverUuid" of its parent, or of the window
 * of the parent where that has none. Closing
 * it never quits the application (Qt::WA_QuitOnClose is off).
 *
 * With the flag SaveGeometry its size and position are kept in the settings under "Other Windows/" and the
 * window's title (slashes and backslashes in the title become underscores): read the first time it is shown,
 * written each time it is hidden. What is read is fitted into a screen that exists; what is damaged counts
 * for nothing. A window without a title keeps nothing.
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

    /**
     * Whether the user has just asked for this window; initially yes. To be set before it is shown.
     *
     * A window that nobody asked for (a background result, a reminder, a message of a machine) leaves the
     * keyboard where it is: it appears without activation and asks for attention in the task bar, together
     * with the windows that it belongs to, until it becomes active; open() blocks no other window, and no key
     * and no click answers it until it has been active for half a second.
     * What calls its methods is not held up.
     */
    bool isAskedFor() const;
    void setAskedFor(bool asked);
    /// Brings the visible window to the front: activated when it was asked for, else it asks for attention
    /// again.
    void present();

public Q_SLOTS:
    /// Window-modal with a parent; plainly shown without one, or when nobody asked for it.
    void open() override;
    /**
     * The modal loop. While it runs the dialog carries the dynamic property "DynProp_BlockingDialog" (true).
     *
     * A delete-on-close dialog stays alive until the loop has returned and is deleted later, from the
     * caller's event loop. Returns 0 when the dialog is destroyed while the loop runs, with its parent for
     * example.
     */
    int exec() override;
    void setVisible(bool visible) override;

protected:
    void changeEvent(QEvent *event) override;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
