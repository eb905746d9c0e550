#include "gui/messages/CSearchParentHelper.h"

#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/log/LogText.h"
#include "gui/window/CWindowInterface.h"

#include <QApplication>
#include <QVariant>
#include <QWidget>
#include <QWindow>

#include <algorithm>

namespace {

const char tag[] = "[PARENT_SEARCH]";
constexpr int level = 3;

bool inheritsAny(const QObject *object, std::initializer_list<const char *> classNames)
{
    return std::any_of(classNames.begin(), classNames.end(),
                       [object](const char *name) { return object->inherits(name); });
}

QByteArray vmUuid(const QObject *object)
{
    return KovGui::logText(object->property("vmUuid").toString());
}

void logAncestorCheck(const QObject *ancestor, const QObject *object)
{
    KOV_LOG_TAG(tag, level,
                "Check if %s (obj name: %s, vmUuid: %s) is ancestor of %s (obj name: %s, vmUuid: %s)...",
                ancestor->metaObject()->className(), KovGui::logText(ancestor->objectName()).constData(),
                vmUuid(ancestor).constData(), object->metaObject()->className(),
                KovGui::logText(object->objectName()).constData(), vmUuid(object).constData());
}

bool isSameOrAncestor(const QWidget *ancestor, const QWidget *widget)
{
    for (; widget; widget = widget->parentWidget()) {
        logAncestorCheck(ancestor, widget);
        const bool same = widget == ancestor;
        KOV_LOG_TAG(tag, level, "%s", same ? "TRUE" : "FALSE");
        if (same)
            return true;
    }
    return false;
}

/// The modal dialog, or what carries it.
QWidget *parentAtModal(QWidget *modal)
{
    KOV_LOG_TAG(tag, level, "Check if active modal dialog [%s] can be a dialog parent.",
                modal->metaObject()->className());
    if (CSearchParentHelper::canBeParent(modal)) {
        KOV_LOG_TAG(tag, level, "OK. The parent is a modal dialog.");
        return modal;
    }
    KOV_LOG_TAG(tag, level, "Inacceptable parent. Search for another one...");
    QWidget *ancestor = modal->parentWidget();
    while (ancestor && !CSearchParentHelper::canBeParent(ancestor))
        ancestor = ancestor->parentWidget();
    return ancestor;
}

QWidget *mainWindow()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (inheritsAny(window, {"QMainWindow", "QWizard", "CControlCenterWindow"})
            && CSearchParentHelper::canBeParent(window))
            return window;
    }
    return nullptr;
}

} // namespace

CSearchParentHelper::CSearchParentHelper() = default;

CSearchParentHelper::~CSearchParentHelper() = default;

CSearchParentHelper *CSearchParentHelper::instance()
{
    return policyInstance<CSearchParentHelper>();
}

QWidget *CSearchParentHelper::getParentForMessage(const QString &issuerId, bool useActive, QWidget *hint)
{
    KOV_LOG_TAG(tag, level, "Trying to get message box parent window. Issuer id: %s, useActive: %d, hint: %p",
                KovGui::logText(issuerId).constData(), int(useActive), static_cast<void *>(hint));

    QWidget *parent = canBeParent(hint) ? hint : getApproxParent(issuerId, useActive);
    QWidget *modal = QApplication::activeModalWidget();
    // The window, not the widget in it: a dialog over the window blocks all of it.
    if (parent && modal && isSameOrAncestor(parent->window(), modal))
        parent = parentAtModal(modal);

    if (parent)
        KOV_LOG_TAG(tag, level, "The found parent is [%s].", parent->metaObject()->className());
    else
        KOV_LOG_TAG(tag, level, "No parent for the message was found.");
    return parent;
}

QWidget *CSearchParentHelper::getApproxParent(const QString &, bool useActive)
{
    QWidget *active = useActive ? QApplication::activeWindow() : nullptr;
    return canBeParent(active) ? active : nullptr;
}

void CSearchParentHelper::makeTransient(QWidget *window, const QString &issuerId)
{
    CSearchParentHelper *helper = instance();
    QWidget *below = helper ? helper->getParentForMessage(issuerId, true, nullptr) : nullptr;
    // Nothing is active while the user works in another program.
    if (!below)
        below = mainWindow();
    if (!below || below->window() == window)
        return;
    window->winId();
    window->windowHandle()->setTransientParent(below->window()->windowHandle());
}

bool CSearchParentHelper::canBeParent(const QWidget *widget)
{
    if (!widget)
        return false;
    const QWidget *window = widget->window();
    if (window->isHidden() || window->isMinimized())
        return false;
    if (window->objectName() == QLatin1String("chrWindow"))
        return false;
    if (inheritsAny(window, {"QMainWindow", "QWizard", "CControlCenterWindow"}))
        return true;
    if (inheritsAny(window, {"QProgressDialog", "QMenu"}))
        return false;
    const auto *interface = dynamic_cast<const CWindowInterface *>(window);
    return interface && interface->canBeParent();
}
