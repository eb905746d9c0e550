#pragma once

#include "gui/wizard/model/CAbstractWizardActionHandler.h"
#include "gui/wizard/model/CAbstractWizardModel.h"
#include "gui/wizard/model/CAbstractWizardPageFactory.h"
#include "gui/wizard/model/CAbstractWizardPageFlow.h"
#include "gui/wizard/model/CWizardController.h"
#include "tests/support/EventLog.h"

#include <QMap>
#include <QSet>

#include <functional>

/// Five pages in a row, each of which does what it is told and tells what happens to it.
struct SampleWizard
{
    EventLog log;
    /// What a page does, by "id trait": "2 incomplete", "2 invalid", "2 refuses", "2 late", "2 again" (is
    /// rolled back too when it is returned to), "2 missing" (the factory makes none), "2 hasty" (finishes
    /// while it is entered).
    QSet<QString> traits;
    /// Runs inside of a call: "validate 2", "enter 2".
    QMap<QString, std::function<void()>> hooks;
    int last = 5;

    bool has(int id, const char *trait) const
    {
        return traits.contains(QStringLiteral("%1 %2").arg(id).arg(QLatin1String(trait)));
    }
    void say(const char *what, int id, int direction = -1)
    {
        const char *const directions[] = {"", " on", " back"};
        log.add(QStringLiteral("%1 %2%3")
                    .arg(QLatin1String(what))
                    .arg(id)
                    .arg(QLatin1String(directions[direction + 1])));
    }
    void runHook(const char *call, int id)
    {
        const auto hook = hooks.take(QStringLiteral("%1 %2").arg(QLatin1String(call)).arg(id));
        if (hook)
            hook();
    }
};

class SamplePage : public CAbstractWizardPage
{
public:
    SamplePage(SampleWizard &wizard, CAbstractWizardModel &model, int id)
        : CAbstractWizardPage(model, id)
        , m_wizard(wizard)
    { }

    bool isComplete() const override { return !m_wizard.has(pageId(), "incomplete"); }
    bool validatePage() override
    {
        const bool valid = !m_wizard.has(pageId(), "invalid");
        m_wizard.runHook("validate", pageId());
        return valid;
    }
    void rollBackPage() override
    {
        m_wizard.say("undo", pageId());
        if (!m_wizard.has(pageId(), "late"))
            Q_EMIT pageRolledBack(!m_wizard.has(pageId(), "refuses"));
    }

protected:
    void initializePage() override { m_wizard.say("init", pageId()); }
    void enterPage(GUI::DirectionType direction) override
    {
        m_wizard.say("enter", pageId(), direction);
        if (m_wizard.has(pageId(), "hasty"))
            Q_EMIT pageFinished();
        m_wizard.runHook("enter", pageId());
    }
    void leavePage(GUI::DirectionType direction) override { m_wizard.say("leave", pageId(), direction); }
    void cleanupPage() override { m_wizard.say("clean", pageId()); }
    bool rollbackOnEnter() const override { return m_wizard.has(pageId(), "again"); }

private:
    SampleWizard &m_wizard;
};

class SampleFactory : public CAbstractWizardPageFactory
{
public:
    explicit SampleFactory(SampleWizard &wizard)
        : m_wizard(wizard)
    { }
    CAbstractWizardPage *createPage(int id, CAbstractWizardModel &model) override
    {
        m_wizard.say("make", id);
        return m_wizard.has(id, "missing") ? nullptr : new SamplePage(m_wizard, model, id);
    }

private:
    SampleWizard &m_wizard;
};

class SampleFlow : public CAbstractWizardPageFlow
{
public:
    explicit SampleFlow(SampleWizard &wizard)
        : m_wizard(wizard)
    { }

protected:
    int getNextPageId(int id) const override { return id == -1 ? 1 : id < m_wizard.last ? id + 1 : -1; }

private:
    SampleWizard &m_wizard;
};

class SampleModel : public CAbstractWizardModel
{
public:
    explicit SampleModel(SampleWizard &wizard)
    {
        setPageFactory(*new SampleFactory(wizard));
        setPageFlow(*new SampleFlow(wizard));
        connect(this, &CAbstractWizardModel::finished, [&](int result) { wizard.say("finished", result); });
        connect(this, &CAbstractWizardModel::aboutToLeavePage,
                [&](CAbstractWizardPage *page) { wizard.say("leaving", page->pageId()); });
        connect(this, &CAbstractWizardModel::aboutToEnterPage,
                [&](CAbstractWizardPage *page) { wizard.say("entering", page->pageId()); });
        connect(this, &CAbstractWizardModel::currentPageIdChanged,
                [&](int id, int direction) { wizard.say("id", id, direction); });
        connect(
            this, &CAbstractWizardModel::currentPageChanged,
            [&](CAbstractWizardPage *page, int direction) { wizard.say("page", page->pageId(), direction); });
    }

    using CAbstractWizardModel::addPage;
    using CAbstractWizardModel::goToNextPage;
    using CAbstractWizardModel::goToPage;
    using CAbstractWizardModel::goToPrevPage;
    using CAbstractWizardModel::restart;
    using CAbstractWizardModel::rollbackTo;
    using CAbstractWizardModel::setActionHandler;
    using CAbstractWizardModel::setActionStateProvider;
    using CAbstractWizardModel::setPageFlow;
};
