#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

class CAbstractWizardModel;
class CAbstractWizardPage;

/// Makes the pages of a wizard, each when it is entered for the first time.
class KOVGUI_EXPORT CAbstractWizardPageFactory : public QObject
{
    Q_OBJECT

public:
    explicit CAbstractWizardPageFactory(QObject *parent = nullptr);
    ~CAbstractWizardPageFactory() override;

    /// @return a new page, which the model then owns. Null is an error: it is logged, and the wizard stays
    /// where it was.
    virtual CAbstractWizardPage *createPage(int pageId, CAbstractWizardModel &model) = 0;
};
