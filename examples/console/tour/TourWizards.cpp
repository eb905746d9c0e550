#include "examples/console/pages/WizardsPage.h"
#include "examples/console/tour/Tour_p.h"
#include "examples/console/wizard/NewMachineModel.h"
#include "examples/console/wizard/NewMachinePages.h"
#include "gui/wizard/actions/WizardActions.h"
#include "gui/wizard/model/CWizardController.h"

#include <QAction>
#include <QDialog>

namespace {

bool isOn(const WizardsPage *page, int id)
{
    const NewMachineModel *model = page->model();
    return model && model->currentPageId() == id && !model->isBusy() && !model->isRollingBack();
}

/// As a click on the button that follows the action.
void trigger(const WizardsPage *page, int action)
{
    if (page->model())
        page->model()->wizardCtrl()->wizardAction(action)->trigger();
}

} // namespace

void Tour::wizardSteps()
{
    ask([this] { m_window->showPage(m_window->wizards()); });
    wizardSteps("as widgets", "wizardAsWidgets");
    wizardSteps("as scenes", "wizardAsScenes");
}

void Tour::wizardSteps(const char *face, const char *button)
{
    WizardsPage *page = m_window->wizards();
    const auto name = [face](const char *what) {
        return QStringLiteral("%1 %2").arg(QLatin1String(what), QLatin1String(face));
    };
    const auto arrive = [this, page](int id) { return waitFor([page, id] { return isOn(page, id); }); };
    const auto title = [this, page] {
        return ask([page] {
            const auto *current = page->model() ? page->model()->currentPage() : nullptr;
            return current ? current->title() : QString();
        });
    };
    const auto go = [&](int action, int id, const char *what) {
        later([page, action] { trigger(page, action); });
        const bool arrived = arrive(id);
        step(name(what), arrived, title());
    };

    press(page, QLatin1String(button));
    bool there = arrive(NewMachineModel::SourcePageId);
    there = there && !ask([page] {
                return page->model()->wizardCtrl()->wizardAction(WizardActions::Next)->isEnabled();
            });
    step(name("a wizard"), there, QStringLiteral("there is no going on without a name"));
    ask([page] {
        if (page->model())
            static_cast<SourcePage *>(page->model()->currentPage())
                ->setName(QStringLiteral("<b>build</b> server"));
    });
    go(WizardActions::Next, NewMachineModel::SystemPageId, "it branches");
    go(WizardActions::Next, NewMachineModel::HardwarePageId, "an ordinary widget");
    later([page] { trigger(page, WizardActions::Next); });
    waitFor([page] { return page->model() && page->model()->isBusy(); });
    msleep(400);
    step(name("a page that works"), ask([page] { return page->model() && page->model()->isBusy(); }),
         title());
    const bool went = arrive(NewMachineModel::RegisterPageId);
    step(name("it goes on by itself"), went, title());
    later([page] { trigger(page, WizardActions::Back); });
    arrive(NewMachineModel::DiskPageId);
    go(WizardActions::Back, NewMachineModel::HardwarePageId, "going back undoes the work");
    later([page] { trigger(page, WizardActions::Next); });
    arrive(NewMachineModel::RegisterPageId);
    ask([page] {
        if (page->model())
            static_cast<RegisterPage *>(page->model()->currentPage())->registerMachine();
    });
    go(WizardActions::Back, NewMachineModel::RegisterPageId, "what cannot be undone");
    go(WizardActions::Next, NewMachineModel::SummaryPageId, "the summary");
    later([page] { trigger(page, WizardActions::Finish); });
    const bool closed = waitFor([page] { return !page->dialog(); });
    step(name("the end"), closed, ask([page] { return page->lastEvent(); }));
}
