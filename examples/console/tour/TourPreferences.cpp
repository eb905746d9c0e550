#include "examples/console/pages/PreferencesPage.h"
#include "examples/console/preferences/PreferencesDialog.h"
#include "examples/console/sample/ConsoleMessages.h"
#include "examples/console/tour/Tour_p.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QSettings>
#include <QSlider>
#include <QSpinBox>
#include <QTabWidget>

using namespace ConsoleMessages;

void Tour::preferencesSteps()
{
    PreferencesPage *page = m_window->preferences();
    ask([this, page] { m_window->showPage(page); });
    const auto dialog = [page] { return page->dialog(); };
    const auto isEnabled = [dialog](const char *name) {
        auto *button = dialog() ? dialog()->findChild<QWidget *>(QLatin1String(name)) : nullptr;
        return button && button->isEnabled();
    };
    const auto stored = [](const char *key) { return QSettings().value(QLatin1String(key)).toString(); };
    const auto open = [&] {
        press(page, QStringLiteral("openPreferences"));
        return waitFor([page, dialog] { return page->isLoaded() && dialog() && dialog()->isVisible(); });
    };
    const auto machineName
        = [dialog] { return dialog()->findChild<QLineEdit *>(QStringLiteral("machineName")); };

    bool ok = open() && ask([=] {
                  return !isEnabled("apply") && machineName()->text() == QLatin1String("Web Server")
                         && dialog()->findChild<QSpinBox *>(QStringLiteral("memory"))->value() == 2048;
              });
    step(QStringLiteral("preferences"), ok, QStringLiteral("filled from the settings and by the service"));

    ok = ask([=] {
        auto *name = dialog()->findChild<QLineEdit *>(QStringLiteral("displayName"));
        name->setFocus();
        name->insert(QStringLiteral("Ada"));
        return isEnabled("apply");
    });
    press(ask(dialog), QStringLiteral("apply"));
    ok = waitFor(
             [=] { return !isEnabled("apply") && stored("preferences.displayName") == QLatin1String("Ada"); })
         && ok;
    step(QStringLiteral("apply what is being typed"), ok,
         QStringLiteral("stored while the focus stays in the field"));

    const auto volume = [dialog] {
        return QPair<int, int>(dialog()->findChild<QSlider *>(QStringLiteral("volume"))->value(),
                               dialog()->findChild<QSpinBox *>(QStringLiteral("volumeNumber"))->value());
    };
    ok = ask([=] {
        dialog()->findChild<QSlider *>(QStringLiteral("volume"))->setValue(75);
        return isEnabled("reset") && volume() == qMakePair(75, 75);
    });
    press(ask(dialog), QStringLiteral("reset"));
    ok = waitFor([=] { return volume() == qMakePair(40, 40) && !isEnabled("apply"); }) && ok;
    step(QStringLiteral("reset"), ok, QStringLiteral("two widgets of one value went there and back"));

    const auto discard
        = [dialog] { return dialog()->findChild<QCheckBox *>(QStringLiteral("discardChanges")); };
    ask([=] { dialog()->findChild<QTabWidget *>(QStringLiteral("tabs"))->setCurrentIndex(1); });
    press(ask(dialog), QStringLiteral("discardChanges"));
    const QString question = messageText(DiscardChanges);
    step(QStringLiteral("a change that is asked about"), !question.isEmpty(), question);
    answer(DiscardChanges, 2);
    ok = waitFor([=] { return !discard()->isChecked() && !isEnabled("apply"); });
    step(QStringLiteral("its rejection"), ok,
         QStringLiteral("the box is not checked any more, nothing is changed"));

    ask([=] {
        machineName()->selectAll();
        machineName()->insert(QStringLiteral(" "));
    });
    press(ask(dialog), QStringLiteral("ok"));
    const QString refusal = messageText(MachineRefused);
    step(QStringLiteral("the service refuses"), !refusal.isEmpty() && ask([=] { return isEnabled("apply"); }),
         refusal);
    answer(MachineRefused, 1);
    ask([=] {
        machineName()->selectAll();
        machineName()->insert(QStringLiteral("Mail Server"));
    });
    press(ask(dialog), QStringLiteral("ok"));
    ok = waitFor([=] { return !dialog(); });
    step(QStringLiteral("ok"), ok, ask([page] { return page->lastEvent(); }));

    ok = open() && ask([=] {
             dialog()->findChild<QSlider *>(QStringLiteral("volume"))->setValue(10);
             return machineName()->text() == QLatin1String("Mail Server");
         });
    press(ask(dialog), QStringLiteral("cancel"));
    ok = waitFor([=] { return !dialog(); }) && ok && stored("preferences.volume").isEmpty();
    step(QStringLiteral("cancel"), ok, QStringLiteral("what was changed is not stored"));
}
