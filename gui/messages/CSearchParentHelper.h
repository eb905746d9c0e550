#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

QT_BEGIN_NAMESPACE
class QWidget;
QT_END_NAMESPACE

/**
 * Finds the window that a message box is attached to. A replaceable policy, registered under
 * "CSearchParentHelper".
 *
 * GUI thread only. Its steps are in the log under "[PARENT_SEARCH]", at verbosity 3.
 */
class KOVGUI_EXPORT CSearchParentHelper : public QObject
{
    Q_OBJECT

public:
    Q_INVOKABLE CSearchParentHelper();
    ~CSearchParentHelper() override;

    /// The registered helper, created on first use and kept for the life of the process; null when none is
    /// registered or the registered class cannot be created (logged).
    static CSearchParentHelper *instance();

    /**
     * The hint when it can be a parent, else getApproxParent(). A modal dialog over that window comes first,
     * because the window below it takes no input: the dialog itself when it can be a parent, else its nearest
     * ancestor that can. Null when no parent is suitable.
     */
    QWidget *getParentForMessage(const QString &issuerId, bool useActive, QWidget *hint);

    /// Asked when the hint does not serve. Base: with useActive the active window when it can be a parent,
    /// else null.
    virtual QWidget *getApproxParent(const QString &issuerId, bool useActive);

    /**
     * Makes a window, before it is shown, stay above the one that the registered helper finds for the issuer,
     * else above the first main window or wizard that can be a parent. Whose child it is, and who owns it,
     * stays as it is; it outlives the window below. Without any nothing happens.
     */
    static void makeTransient(QWidget *window, const QString &issuerId);

    /**
     * Whether the window of the widget may carry a message: it is neither hidden nor minimised nor named
     * "chrWindow", and is a QMainWindow, a QWizard or a CControlCenterWindow, or implements CWindowInterface
     * and agrees. Progress dialogs and menus never are parents. False for null.
     */
    static bool canBeParent(const QWidget *widget);
};
