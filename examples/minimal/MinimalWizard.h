#pragma once

#include "gui/wizard/model/CAbstractWizardModel.h"
#include "gui/wizard/model/CAbstractWizardPage.h"
#include "gui/wizard/model/CAbstractWizardPageFactory.h"
#include "gui/wizard/model/CAbstractWizardPageFlow.h"
#include "gui/wizard/widgets/CWizardDialog.h"

#include <QLabel>

/// Two pages, one after the other.
class MinimalWizardModel : public CAbstractWizardModel
{
    struct Page : CAbstractWizardPage
    {
        Page(int id, CAbstractWizardModel &model)
            : CAbstractWizardPage(model, id)
        {
            setTitle(id == 1 ? tr("Which server?") : tr("Connect?"));
        }
    };
    struct Factory : CAbstractWizardPageFactory
    {
        CAbstractWizardPage *createPage(int id, CAbstractWizardModel &model) override
        {
            return new Page(id, model);
        }
    };
    struct Flow : CAbstractWizardPageFlow
    {
        // -1 in asks for the first page, -1 out says there is none.
        int getNextPageId(int id) const override { return id == -1 ? 1 : id == 1 ? 2 : -1; }
        bool isFinalPage(int id) const override { return id == 2; }
    };

public:
    MinimalWizardModel()
    {
        setPageFactory(*new Factory);
        setPageFlow(*new Flow);
    }
};

/// @return whether its user went through to the end
inline bool runMinimalWizard(QWidget *parent)
{
    MinimalWizardModel model;
    CWizardDialog dialog(
        model, [](CAbstractWizardPage &page) { return new QLabel(page.title()); }, parent);
    return dialog.exec() == QDialog::Accepted;
}
