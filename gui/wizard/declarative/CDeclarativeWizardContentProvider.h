#pragma once

#include "gui/content/CContentProvider.h"
#include "gui/frame/GUI.h"
#include "gui/wizard/Declarative.h"
#include "gui/wizard/model/CAbstractWizardModel.h"
#include "gui/wizard/model/CWizardController.h"

#include <QAction>
#include <QMap>
#include <QVariant>

#include <memory>

class CContentArea;
class CContentWatcher;

/**
 * Shows a whole wizard in a content area: the frame scene with the buttons, and in it the scene of each page.
 *
 * Scenes reach it as "contentProvider". The frame's buttons follow and trigger the wizard's actions
 * (import com.tessarine.wizard 1.0 has the enumeration WizardActions).
 */
class KOVGUI_DECLARATIVE_EXPORT CDeclarativeWizardContentProvider : public CContentProvider
{
    Q_OBJECT
    Q_PROPERTY(CAbstractWizardModel *wizardModel READ wizardModel CONSTANT)
    Q_PROPERTY(CWizardController *wizardCtrl READ wizardCtrl CONSTANT)
    /// The actions of the buttons, in their order: first what stands where reading begins.
    Q_PROPERTY(QQmlListProperty<QAction> wizardActions READ wizardActions CONSTANT)

public:
    /**
     * @param area  not owned; nothing is shown once it is gone
     * @param model  not owned
     * @param parentWidget  of dialogs on the wizard's behalf
     */
    CDeclarativeWizardContentProvider(CContentArea *area, CAbstractWizardModel &model,
                                      QWidget *parentWidget = nullptr, QObject *parent = nullptr);
    ~CDeclarativeWizardContentProvider() override;

    /**
     * Shows the frame, and then the start page; a model that is on a page already shows that one.
     *
     * @param params  for the scenes of the pages, which find them as contentParams, with "wizardPage" added
     * @return the frame's watcher, null without an area
     */
    CContentWatcher *startWizard(const QMap<QString, QVariant> &params, GUI::ContentAnimationType animation);

    /// Null once it is gone.
    CAbstractWizardModel *wizardModel() const;
    CWizardController *wizardCtrl() const;
    QQmlListProperty<QAction> wizardActions();

    /// The answer of the model's action handler; true without a model.
    bool processCloseEvent() override;

private Q_SLOTS:
    void onWizardContentLoaded(QObject *root);
    void onWizardPageContentLoaded(QObject *item);
    void onWizardPageContentReady();
    void onCurrentPageChanged(CAbstractWizardPage *page, int direction);

private:
    static void registerTypes();

    class Private;
    const std::unique_ptr<Private> d;
};
