#pragma once

#include "gui/wizard/model/CAbstractWizardModel.h"
#include "gui/wizard/model/CWizardRollbackWorker.h"

#include <QHash>
#include <QPointer>
#include <QQueue>
#include <QStack>

#include <functional>
#include <optional>

/// What a wizard model has and does. Everything that it calls out to may delete it: a page that is still
/// there says that the model is, too.
class CAbstractWizardModelPrivate : public QObject
{
public:
    explicit CAbstractWizardModelPrivate(CAbstractWizardModel *model);

    /// Before anything is deleted: what a page says on its way out must reach nobody.
    void shutDown();

    CAbstractWizardPage *addPage(int id);
    CAbstractWizardPage *goToPage(int id, GUI::DirectionType direction);
    void restart();
    void rollbackTo(int id);
    void unwire();

    bool isMoving() const { return m_moving; }
    /// While a page change is being announced: keeps the function for the time after it and returns true.
    /// With a page, it is called only if that page is the current one then.
    bool putOff(const std::function<void()> &function,
                std::optional<CAbstractWizardPage *> onBehalfOf = std::nullopt);

    CAbstractWizardModel *const q;
    QHash<int, CAbstractWizardPage *> pages;
    QPointer<CAbstractWizardPageFactory> pageFactory;
    QPointer<CAbstractWizardPageFlow> pageFlow;
    QPointer<CAbstractWizardActionStateProvider> actionStateProvider;
    QPointer<CAbstractWizardActionHandler> actionHandler;
    QPointer<CWizardController> wizardCtrl;
    CWizardRollbackWorker rollbackWorker;

private:
    void onRollbackFinished(bool ok);
    void onPageFinished();
    void updateActions();
    CAbstractWizardPage *move(int id, GUI::DirectionType direction);
    void leave(CAbstractWizardPage *page, GUI::DirectionType direction);
    bool enter(CAbstractWizardPage *page, int id, GUI::DirectionType direction);
    void announce(CAbstractWizardPage *page, int id, GUI::DirectionType direction);
    void wire(CAbstractWizardPage *page);
    void carryOutWhatWasPutOff();

    QPointer<CAbstractWizardPage> m_wired;
    QQueue<std::function<void()>> m_putOff;
    bool m_moving = false;
    bool m_carryingOut = false;
};
