#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

#include <memory>

class CAbstractWizardModel;

/**
 * Undoes the work of a wizard's pages, newest first, before the wizard goes back past them: one page an
 * event-loop turn, so a page may open dialogs or wait for tasks before it answers. It stops at the first
 * page that refuses; what was undone by then stays undone.
 *
 * A page that is destroyed while it is awaited counts as one that refused; one that is gone before its turn
 * has nothing left to undo.
 */
class KOVGUI_EXPORT CWizardRollbackWorker : public QObject
{
    Q_OBJECT

public:
    explicit CWizardRollbackWorker(CAbstractWizardModel *model, QObject *parent = nullptr);
    ~CWizardRollbackWorker() override;

    /**
     * Begins to undo what was visited after a page, and that page itself if its rollbackOnEnter() says so.
     *
     * For the current page, and for one that was not visited, finished(false) comes at once. While a
     * rollback runs a second one is refused without a signal.
     */
    void rollbackTo(int pageId);
    /// Ends a rollback that runs with finished(false).
    void stop();
    /// True when no rollback runs.
    bool isFinished() const;
    /// The page of the last rollback, -1 before the first.
    int targetPageId() const;

Q_SIGNALS:
    void finished(bool ok);

private:
    void finish(bool ok);
    void rollbackNextPage();
    void onPageRolledBack(bool ok);

    class Private;
    const std::unique_ptr<Private> d;
};
