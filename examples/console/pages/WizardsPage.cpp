#include "examples/console/pages/WizardsPage.h"

#include "examples/console/wizard/NewMachineModel.h"
#include "examples/console/wizard/NewMachineWidgets.h"
#include "gui/wizard/declarative/CDeclarativeWizardDialog.h"
#include "gui/wizard/widgets/CWizardDialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

WizardsPage::WizardsPage(QWidget *parent)
    : ConsolePage(tr("Wizards"), parent)
{
    auto *text
        = new QLabel(tr("Makes a new virtual machine. The two windows are faces of one wizard: the same "
                        "pages, order and rules."),
                     area());
    text->setWordWrap(true);
    auto *row = new QHBoxLayout;
    const auto addButton = [&](const QString &label, const char *name, bool asScenes) {
        auto *button = new QPushButton(label, area());
        button->setObjectName(QLatin1String(name));
        connect(button, &QPushButton::clicked, this, [this, asScenes] { open(asScenes); });
        row->addWidget(button);
    };
    addButton(tr("As &Widgets"), "wizardAsWidgets", false);
    addButton(tr("As &Scenes"), "wizardAsScenes", true);
    row->addStretch();
    auto *layout = new QVBoxLayout(area());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(text);
    layout->addLayout(row);
}

WizardsPage::~WizardsPage()
{
    delete m_dialog;
}

NewMachineModel *WizardsPage::model() const
{
    return m_model;
}

QDialog *WizardsPage::dialog() const
{
    return m_dialog;
}

void WizardsPage::open(bool asScenes)
{
    if (m_dialog) {
        m_dialog->raise();
        m_dialog->activateWindow();
        return;
    }
    m_model = new NewMachineModel;
    if (asScenes)
        m_dialog = new CDeclarativeWizardDialog(*m_model, window());
    else
        m_dialog = new CWizardDialog(*m_model, makePageWidget, window());
    m_dialog->setWindowTitle(tr("New Virtual Machine"));
    m_dialog->setAttribute(Qt::WA_DeleteOnClose);
    m_model->setParent(m_dialog);
    connect(m_model, &CAbstractWizardModel::currentPageChanged, this,
            [this](CAbstractWizardPage *page) { report(tr("Page \"%1\"").arg(page->title())); });
    connect(m_model, &CAbstractWizardModel::finished, this, &WizardsPage::onFinished);
    m_dialog->open();
}

void WizardsPage::onFinished(int result)
{
    if (result == 0)
        report(tr("The machine %1 is made.").arg(m_model->machine.name));
    else
        report(tr("The wizard was cancelled."));
}
