#include "gui/wizard/declarative/CDeclarativeWizardDialog.h"

#include "gui/content/CContentView.h"
#include "gui/wizard/declarative/CDeclarativeWizardContentProvider.h"

#include <QPointer>
#include <QVBoxLayout>

class CDeclarativeWizardDialog::Private
{
public:
    QPointer<CAbstractWizardModel> model;
    const QMap<QString, QVariant> params;
    CContentView *view = nullptr;
    CDeclarativeWizardContentProvider *provider = nullptr;
    bool started = false;
};

CDeclarativeWizardDialog::CDeclarativeWizardDialog(CAbstractWizardModel &model, QWidget *parent,
                                                   const QMap<QString, QVariant> &params)
    : CBaseDialog(parent)
    , d(new Private{&model, params})
{
    setObjectName(QStringLiteral("CDeclarativeWizardDialog"));
    d->view = new CContentView(this);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(d->view);
    d->provider = new CDeclarativeWizardContentProvider(d->view->contentArea(), model, this, this);
    connect(&model, &CAbstractWizardModel::finished, this,
            [this](int result) { done(result == 0 ? Accepted : Rejected); });
    d->view->sceneWidget()->setFocus();
}

CDeclarativeWizardDialog::~CDeclarativeWizardDialog()
{
    delete d->provider;
}

CWizardController *CDeclarativeWizardDialog::wizardCtrl() const
{
    return d->provider->wizardCtrl();
}

void CDeclarativeWizardDialog::setVisible(bool visible)
{
    if (visible && !d->started) {
        d->started = true;
        d->provider->startWizard(d->params, GUI::ContentAnimationNone);
    }
    CBaseDialog::setVisible(visible);
}

void CDeclarativeWizardDialog::reject()
{
    const QPointer<CDeclarativeWizardDialog> self(this);
    if (!d->provider->processCloseEvent() || !self)
        return;
    if (d->model)
        d->provider->wizardCtrl()->cancel();
    else
        CBaseDialog::reject();
}
