#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>
#include <QStack>

#include <memory>

class CAbstractWizardModel;

/**
 * The order of a wizard's pages: which page follows, and the history of the pages that were visited.
 *
 * "Back" follows the history, not the forward rule: the page before is the one that was really shown
 * before, so a derived flow may skip pages going forward and needs no book of its own.
 *
 * A page is named by its id, any integer but -1, which means "no page". The history is a stack, the first
 * visited page at the bottom, the current one on top; no id is in it twice.
 *
 * A derived class implements the one decision that this one cannot make, getNextPageId(int).
 */
class KOVGUI_EXPORT CAbstractWizardPageFlow : public QObject
{
    Q_OBJECT

public:
    explicit CAbstractWizardPageFlow(QObject *parent = nullptr);
    ~CAbstractWizardPageFlow() override;

    /// -1 while the history is empty.
    int currentPageId() const;
    /// The page that follows the current one, the start page while the history is empty, -1 on the last page.
    int getNextPageId() const;
    /// The page that was visited before the current one, -1 if there is none.
    int getPrevPageId() const;
    bool canGoBack() const;
    bool isOnFinalPage() const;
    bool hasVisitedPage(int pageId) const;
    /// The history from a page up to the current one, both included, the older first. Empty for a page not
    /// visited.
    QStack<int> getPageHistory(int pageId) const;
    /// A page that was not visited comes on top of the history; a visited one becomes the top: what was
    /// visited after it is forgotten.
    void setCurrentPageId(int pageId);

protected:
    virtual bool canGoBack(int pageId) const;
    virtual int getPrevPageId(int pageId) const;
    /// @param pageId  -1 asks for the start page
    /// @return -1 if pageId is the last page
    virtual int getNextPageId(int pageId) const = 0;
    virtual bool isFinalPage(int pageId) const;

    /// Null before a model took the flow.
    CAbstractWizardModel *wizardModel() const;
    void setWizardModel(CAbstractWizardModel &model);

private:
    friend class CAbstractWizardModel;
    friend class CAbstractWizardModelPrivate;

    void clear();
    // For a page change that fails half-way.
    QStack<int> history() const;
    void setHistory(const QStack<int> &history);

    class Private;
    const std::unique_ptr<Private> d;
};
