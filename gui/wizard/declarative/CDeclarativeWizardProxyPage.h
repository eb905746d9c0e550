#pragma once

#include "gui/wizard/declarative/CDeclarativeWizardPage.h"

class QWidget;

/// A wizard page whose face is an ordinary widget, shown inside of the declarative frame.
class KOVGUI_DECLARATIVE_EXPORT CDeclarativeWizardProxyPage : public CDeclarativeWizardPage
{
    Q_OBJECT
    Q_PROPERTY(QWidget *sourcePage READ sourcePage CONSTANT)

public:
    /// Deletes the source page.
    ~CDeclarativeWizardProxyPage() override;

    /// Null before one was set, and once it is gone.
    QWidget *sourcePage() const;

protected:
    CDeclarativeWizardProxyPage(CAbstractWizardModel &model, int pageId, QObject *parent = nullptr);

    /// Takes the widget over, and deletes the one before.
    void setSourcePage(QWidget *widget);

    /// Lets the widget's pop-ups open as windows.
    void initializePage() override;
    CContentInfo *createContentInfo(CDeclarativeWizardContentProvider *provider,
                                    const QMap<QString, QVariant> &params) override;

private:
    QPointer<QWidget> m_sourcePage;
};
