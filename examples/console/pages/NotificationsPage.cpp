#include "examples/console/pages/NotificationsPage.h"

#include "examples/console/sample/ConsoleMessages.h"
#include "gui/help/Help.h"
#include "gui/messages/CMessageManager.h"
#include "gui/messages/notification/CNotificationBoxGroup.h"
#include "gui/messages/record/MessageParams.h"
#include "gui/messages/record/MessageUtils.h"

#include <QApplication>
#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

using namespace ConsoleMessages;

NotificationsPage::NotificationsPage(QWidget *parent)
    : ConsolePage(tr("Notifications"), parent)
{
    m_list = createCodeList(
        {
            {tr("A machine that stopped by itself, with an answer"), MachineStopped},
            {tr("What need not be told again"), SnapshotTaken},
            {tr("One with a link"), ImageReady},
        },
        [this](int code) { show(code); });
    m_list->setObjectName(QStringLiteral("notifications"));
    m_list->setAccessibleName(tr("Notifications to show"));

    auto *one = new QPushButton(tr("&Show"), area());
    one->setObjectName(QStringLiteral("showNotification"));
    connect(one, &QPushButton::clicked, this, [this] { show(chosenCode(m_list)); });
    auto *many = new QPushButton(tr("Show &Twenty While You Type"), area());
    many->setObjectName(QStringLiteral("showMany"));
    connect(many, &QPushButton::clicked, this, &NotificationsPage::showMany);
    auto *mirrored = new QCheckBox(tr("&Right to left"), area());
    mirrored->setObjectName(QStringLiteral("rightToLeft"));
    connect(mirrored, &QCheckBox::toggled, this, [](bool checked) {
        QApplication::setLayoutDirection(checked ? Qt::RightToLeft : Qt::LeftToRight);
    });
    auto *hint = new QLabel(
        tr("A notification never takes the keyboard. F6 goes to the newest one, F6 again to the next, and "
           "from the last one back."),
        area());
    hint->setWordWrap(true);
    auto *row = new QHBoxLayout;
    row->addWidget(one);
    row->addWidget(many);
    row->addWidget(mirrored);
    row->addStretch();
    auto *layout = new QVBoxLayout(area());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(hint);
    layout->addWidget(m_list);
    layout->addLayout(row);

    auto *next = new QShortcut(Qt::Key_F6, this);
    next->setContext(Qt::ApplicationShortcut);
    connect(next, &QShortcut::activated, this, [] { CNotificationBoxGroup::instance().activateNext(); });
    connect(CMessageManager::instance(), &CMessageManager::notificationClicked, this,
            &NotificationsPage::onClicked);
}

void NotificationsPage::show(int code)
{
    const QStringList machine{tr("Web Server %1 <test>").arg(++m_machine)};
    MessageParams params(code, this);
    params.setShortMsgParams(machine).setLongMsgParams(machine).setAskedFor(false).setAnchorClickSlot(
        CSlotInfo(this, "1onLinkClicked(QUrl)"));
    if (CMessageManager::instance()->showMessageBox(params) == -1)
        report(tr("Notification %1 is not shown.").arg(code));
}

void NotificationsPage::showMany()
{
    for (int i = 0; i < 20; ++i)
        show(MachineStopped);
}

bool NotificationsPage::onLinkClicked(const QUrl &url)
{
    report(tr("Link: %1").arg(url.toDisplayString()));
    return Help::openWebPage(url);
}

void NotificationsPage::onClicked(KOV_RESULT code)
{
    report(tr("Notification %1 was clicked.").arg(MessageUtils::getProblemID(code)));
}
