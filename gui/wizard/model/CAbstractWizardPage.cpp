#include "gui/wizard/model/CAbstractWizardPage.h"

#include "gui/wizard/model/CAbstractWizardModel.h"

class CAbstractWizardPage::Private
{
public:
    CAbstractWizardModel &model;
    const int id;
    QString title;
};

CAbstractWizardPage::CAbstractWizardPage(CAbstractWizardModel &model, int pageId, QObject *parent)
    : QObject(parent)
    , d(new Private{model, pageId, QString()})
{ }

CAbstractWizardPage::~CAbstractWizardPage() = default;

int CAbstractWizardPage::pageId() const
{
    return d->id;
}

QString CAbstractWizardPage::title() const
{
    return d->title;
}

void CAbstractWizardPage::setTitle(const QString &title)
{
    if (d->title == title)
        return;
    d->title = title;
    Q_EMIT titleChanged(title);
}

bool CAbstractWizardPage::isComplete() const
{
    return true;
}

bool CAbstractWizardPage::validatePage()
{
    return true;
}

void CAbstractWizardPage::rollBackPage()
{
    Q_EMIT pageRolledBack(true);
}

int CAbstractWizardPage::helpTopic() const
{
    return -1;
}

CAbstractWizardModel *CAbstractWizardPage::wizardModel() const
{
    return &d->model;
}

CWizardController *CAbstractWizardPage::wizardCtrl() const
{
    return d->model.wizardCtrl();
}

void CAbstractWizardPage::initializePage() { }

void CAbstractWizardPage::enterPage(GUI::DirectionType) { }

void CAbstractWizardPage::leavePage(GUI::DirectionType) { }

void CAbstractWizardPage::cleanupPage() { }

bool CAbstractWizardPage::rollbackOnEnter() const
{
    return false;
}
