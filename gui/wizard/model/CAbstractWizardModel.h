#pragma once

#include "gui/content/CContentModel.h"
#include "gui/frame/GUI.h"
#include "gui/wizard/model/CAbstractWizardPage.h"

#include <memory>

class CAbstractWizardActionHandler;
class CAbstractWizardActionStateProvider;
class CAbstractWizardModelPrivate;
class CAbstractWizardPageFactory;
class CAbstractWizardPageFlow;
class CWizardController;

/**
 * A wizard without a face: which page is current, which pages there are, and what moves it.
 *
 * A derived model sets a page factory and a page flow before the first page change; an action state
 * provider and an action handler with the usual behaviour are there from the beginning. It gets a
 * controller (CWizardController), whose goNext() enters the start page, and a face: a CWizardDialog, a
 * CDeclarativeWizardDialog or a view of its own.
 *
 * Going on happens at once. Going back asks each page in between to undo its work, newest first
 * (rollbackTo()), and happens when all have.
 *
 * A page change that is asked for while another one is being announced (from a page's operation, or from a
 * slot of these signals) is carried out right after it; one that was asked for on behalf of a page that is
 * not current any more is dropped. Slots may delete the model, a page or the controller.
 *
 * Errors (a page that the factory does not make, a page destroyed while it is entered) are logged and leave
 * the wizard where it was: the page that had been left already is entered again, as if its user had gone on
 * and come back, and what was asked for meanwhile is dropped.
 *
 * On the GUI thread only. Its destructor emits nothing.
 */
class KOVGUI_EXPORT CAbstractWizardModel : public CContentModel
{
    Q_OBJECT
    Q_PROPERTY(CAbstractWizardPage *currentPage READ currentPage NOTIFY currentPageChanged)
    Q_PROPERTY(int currentPageId READ currentPageId NOTIFY currentPageIdChanged)

public:
    ~CAbstractWizardModel() override;

    /// Null before the first page, and when the page was deleted.
    CAbstractWizardPage *currentPage() const;
    /// -1 before the first page.
    int currentPageId() const;
    /// A page that was made already, else null.
    CAbstractWizardPage *page(int id) const;
    CAbstractWizardPageFlow *pageFlow() const;
    CAbstractWizardActionHandler *actionHandler() const;
    CAbstractWizardActionStateProvider *actionStateProvider() const;
    CWizardController *wizardCtrl() const;
    /// While pages undo their work.
    bool isRollingBack() const;

Q_SIGNALS:
    /// The wizard has ended: 0 finished, 2 cancelled; a handler of the application may use others.
    void finished(int result);
    void aboutToLeavePage(CAbstractWizardPage *page);
    void aboutToEnterPage(CAbstractWizardPage *page);
    /// @param direction  a GUI::DirectionType
    void currentPageChanged(CAbstractWizardPage *page, int direction);
    void currentPageIdChanged(int pageId, int direction);

protected:
    explicit CAbstractWizardModel(QObject *parent = nullptr);

    // Each takes ownership and deletes what was set before.
    void setPageFactory(CAbstractWizardPageFactory &factory);
    void setPageFlow(CAbstractWizardPageFlow &flow);
    void setActionStateProvider(CAbstractWizardActionStateProvider &provider);
    void setActionHandler(CAbstractWizardActionHandler &handler);
    /// Not owned; null when the controller goes.
    void setWizardCtrl(CWizardController *controller);

    /// The page of an id, made by the factory unless it is there already. Null when the factory made none.
    CAbstractWizardPage *addPage(int id);
    /**
     * Changes the current page. Stops a rollback that is running.
     *
     * @return the page; null when there is none, or when the change was put off because another one is
     * being announced. The current page's id changes nothing.
     */
    CAbstractWizardPage *goToPage(int id, GUI::DirectionType direction);
    void goToNextPage();
    void goToPrevPage();
    /// Forgets the history and enters the start page. On the start page only the history is forgotten. A
    /// page that is current is not told.
    void restart();
    /// Asks the pages after a visited one to undo their work, then goes to it. Refused while a rollback runs.
    void rollbackTo(int id);

private:
    friend class CAbstractWizardActionHandler;
    friend class CAbstractWizardModelPrivate;
    friend class CWizardController;

    const std::unique_ptr<CAbstractWizardModelPrivate> d;
};
