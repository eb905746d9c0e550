#include "examples/console/pages/MessagesPage.h"
#include "examples/console/pages/NotificationsPage.h"
#include "examples/console/pages/StatisticsPage.h"
#include "examples/console/sample/ConsoleMessages.h"
#include "examples/console/tour/Tour_p.h"
#include "gui/messages/CMessageManager.h"
#include "gui/messages/box/CMessageBoxWndBase.h"
#include "gui/messages/notification/CNotificationBoxGroup.h"
#include "gui/messages/record/MessageUtils.h"

#include <QApplication>
#include <QComboBox>
#include <QPropertyAnimation>

using namespace ConsoleMessages;

namespace {

QList<CMessageBoxWndBase *> openNotifications()
{
    return CMessageManager::instance()->getMessageWindowsForId(MachineStopped);
}

bool areAtRest()
{
    const auto boxes = openNotifications();
    return std::none_of(boxes.begin(), boxes.end(),
                        [](const QWidget *box) { return box->findChild<QPropertyAnimation *>(); });
}

} // namespace

void Tour::anyCodeSteps()
{
    MessagesPage *page = m_window->messages();
    ask([this, page] {
        m_window->showPage(page);
        page->findChild<QComboBox *>(QStringLiteral("anyCode"))->setEditText(QString::number(SuspendOnQuit));
    });
    ask([] { MessageUtils::setMessageHidden(SuspendOnQuit, Messaging::Button2); });
    press(page, QStringLiteral("raiseCode"));
    const bool decided
        = waitFor([page] { return page->lastEvent().contains(QStringLiteral("is hidden")); }, 5000);
    step(QStringLiteral("any code, hidden"), decided && !isMessageOpen(SuspendOnQuit),
         ask([page] { return page->lastEvent(); }));
    press(page, QStringLiteral("restoreAllHidden"));
    waitFor([] { return MessageUtils::getHiddenMessagesCount() == 0; });
}

void Tour::notificationSteps()
{
    NotificationsPage *page = m_window->notifications();
    ask([this, page] {
        m_window->showPage(page);
        for (int i = 0; i < 3; ++i)
            page->show(MachineStopped);
    });
    const bool stacked = waitFor([] { return openNotifications().size() == 3 && areAtRest(); }, 4000);
    step(QStringLiteral("notifications"), stacked && ask([this] { return m_window->isActiveWindow(); }),
         QStringLiteral("three stand in the corner, and the console keeps the keyboard"));
    ask([] { CNotificationBoxGroup::instance().activateNext(); });
    const bool reached
        = waitFor([] { return qobject_cast<CMessageBoxWndBase *>(QApplication::activeWindow()); });
    step(QStringLiteral("the keyboard in a notification"), reached,
         QStringLiteral("a key goes to the newest one"));
    press(ask([] { return QApplication::activeWindow(); }), QStringLiteral("m_pbAlternate"));
    const bool clicked
        = waitFor([page] { return page->lastEvent().contains(QStringLiteral("was clicked")); });
    const bool gone = waitFor([] { return openNotifications().isEmpty(); }, 10000);
    step(QStringLiteral("they go by themselves"), clicked && gone, ask([page] { return page->lastEvent(); }));
}

void Tour::statisticsSteps()
{
    StatisticsPage *page = m_window->statistics();
    ask([this, page] { m_window->showPage(page); });
    step(QStringLiteral("no consent, no statistics"),
         ask([page] { return page->receivedCount() == 0 && page->sender().sendings().isEmpty(); }),
         QStringLiteral("the site has received nothing"));
    press(page, QStringLiteral("askForConsent"));
    const QString text = messageText(SendStatistics);
    step(QStringLiteral("the consent"), !text.isEmpty(), text);
    answer(SendStatistics, 1);
    const bool sent = waitFor([page] { return page->receivedCount() == 1; });
    waitFor([page] { return page->lastEvent().startsWith(QStringLiteral("Received by")); });
    step(QStringLiteral("statistics"), sent, ask([page] { return page->lastEvent(); }));
    press(page, QStringLiteral("consent"));
    waitFor([page] { return !page->sender().isSendStatisticsEnabled(); });
}
