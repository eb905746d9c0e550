#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/frame/GUI.h"

#include <QObject>

#include <memory>

class CAbstractWizardModel;
class CWizardController;

/**
 * One page of a wizard: its work and its rules. It shows nothing by itself; a view does.
 *
 * The model makes it through the factory when it is entered for the first time, keeps it and owns it: going
 * back and on again meets the same object with its state. Entered going forward, a page gets
 * initializePage() and enterPage(); entered going back, enterPage() only. Left, it gets leavePage(), and
 * going back cleanupPage() after it.
 *
 * A page that is deleted before its model is forgotten; the factory makes it again when it is entered again.
 */
class KOVGUI_EXPORT CAbstractWizardPage : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int pageId READ pageId CONSTANT)
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    Q_PROPERTY(bool complete READ isComplete NOTIFY completeChanged)

public:
    ~CAbstractWizardPage() override;

    int pageId() const;
    /// Plain text, initially empty.
    QString title() const;
    void setTitle(const QString &title);

    /// Whether its user may go on. True by default. Emit completeChanged() when the answer changes.
    virtual bool isComplete() const;
    /// Called before the wizard goes on or finishes; false keeps it here. May open dialogs: a second click
    /// on Next does nothing meanwhile, and the wizard goes on only if this page is still the current one.
    /// True by default.
    virtual bool validatePage();
    /// Undoes the page's work, because the wizard goes back past it. The page answers with
    /// pageRolledBack(), at once or later; false keeps the wizard where it is. By default there is nothing
    /// to undo: true, at once.
    virtual void rollBackPage();
    /// The page's help topic; -1, the default, for none.
    virtual int helpTopic() const;

Q_SIGNALS:
    void completeChanged();
    /// The page has done its work by itself: the wizard goes on as if Next were pressed. From inside of
    /// initializePage() or enterPage() too: then it goes on once the page is announced.
    void pageFinished();
    /// The answer to rollBackPage(). Counts once; from anybody who was not asked not at all.
    void pageRolledBack(bool ok);
    void titleChanged(const QString &title);

protected:
    CAbstractWizardPage(CAbstractWizardModel &model, int pageId, QObject *parent = nullptr);

    CAbstractWizardModel *wizardModel() const;
    /// The model's controller; null as long as there is none.
    CWizardController *wizardCtrl() const;

    // What happens to the page. By default nothing.
    virtual void initializePage();
    virtual void enterPage(GUI::DirectionType direction);
    virtual void leavePage(GUI::DirectionType direction);
    virtual void cleanupPage();
    /// Whether a rollback to this page rolls back this page as well. False by default: a page that is
    /// returned to keeps its state.
    virtual bool rollbackOnEnter() const;

private:
    friend class CAbstractWizardModelPrivate;
    friend class CWizardRollbackWorker;

    class Private;
    const std::unique_ptr<Private> d;
};
