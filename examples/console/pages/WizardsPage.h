#pragma once

#include "examples/console/pages/ConsolePage.h"

#include <QPointer>

class NewMachineModel;
class QDialog;

/// One wizard, shown as widgets and as scenes.
class WizardsPage : public ConsolePage
{
    Q_OBJECT

public:
    explicit WizardsPage(QWidget *parent = nullptr);
    ~WizardsPage() override;

    /// The wizard that is open, null when none is.
    NewMachineModel *model() const;
    QDialog *dialog() const;

private:
    void open(bool asScenes);
    void onFinished(int result);

    QPointer<NewMachineModel> m_model;
    QPointer<QDialog> m_dialog;
};
