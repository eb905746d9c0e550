#include "examples/console/pages/StatisticsPage.h"

#include "examples/console/sample/ConsoleMessages.h"
#include "examples/console/sample/SampleSite.h"
#include "gui/messages/CMessageManager.h"
#include "gui/messages/record/MessageParams.h"

#include <QCheckBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>

namespace {

QPlainTextEdit *makeView(const char *name, QWidget *parent)
{
    auto *view = new QPlainTextEdit(parent);
    view->setObjectName(QLatin1String(name));
    view->setReadOnly(true);
    view->setTabChangesFocus(true);
    view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    return view;
}

} // namespace

StatisticsPage::StatisticsPage(SampleSite *site, QWidget *parent)
    : ConsolePage(tr("Statistics"), parent)
    , m_site(site)
    , m_sender(site->statisticsUrl())
    , m_provider(&m_sender, &m_collector, nullptr)
{
    m_consent = new QCheckBox(tr("S&end usage statistics, now and every eight hours"), area());
    m_consent->setObjectName(QStringLiteral("consent"));
    m_consent->setChecked(m_sender.isSendStatisticsEnabled());
    connect(m_consent, &QCheckBox::clicked, &m_provider, &CCepStatisticsProvider::setSendStatistics);
    connect(&m_sender, &ConsoleStatisticsSender::sendStatisticsChanged, m_consent, &QCheckBox::setChecked);
    auto *askButton = new QPushButton(tr("&Ask Me…"), area());
    askButton->setObjectName(QStringLiteral("askForConsent"));
    connect(askButton, &QPushButton::clicked, this, &StatisticsPage::ask);

    m_next = makeView("nextStatistics", area());
    auto *nextLabel = new QLabel(tr("W&hat would be sent now"), area());
    nextLabel->setBuddy(m_next);
    m_sent = makeView("sentStatistics", area());
    auto *sentLabel = new QLabel(tr("What &was sent"), area());
    sentLabel->setBuddy(m_sent);

    auto *layout = new QGridLayout(area());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_consent, 0, 0);
    layout->addWidget(askButton, 0, 1, Qt::AlignLeft);
    layout->addWidget(nextLabel, 1, 0);
    layout->addWidget(sentLabel, 1, 1);
    layout->addWidget(m_next, 2, 0);
    layout->addWidget(m_sent, 2, 1);

    const auto showNext = [this] { m_next->setPlainText(m_collector.data()); };
    connect(&m_collector, &ConsoleStatisticsCollector::dataChanged, this, showNext);
    connect(&m_sender, &ConsoleStatisticsSender::sendingsChanged, this, &StatisticsPage::showSendings);
    showNext();
    showSendings();
}

int StatisticsPage::receivedCount() const
{
    return m_site->statisticsReceived();
}

void StatisticsPage::ask()
{
    CMessageManager::instance()->showMessageBox(
        MessageParams(ConsoleMessages::SendStatistics, this)
            .setCloseMsgSlot(CSlotInfo(this, "1onConsentAnswered(KOV_RESULT,Messaging::ButtonID)")));
}

void StatisticsPage::onConsentAnswered(KOV_RESULT, Messaging::ButtonID answer)
{
    // A window that was closed says nothing, least of all yes.
    if (answer == Messaging::ButtonNone)
        return;
    m_provider.setSendStatistics(answer == Messaging::Button1);
    report(answer == Messaging::Button1 ? tr("Statistics are sent from now on.")
                                        : tr("No statistics are sent."));
}

void StatisticsPage::showSendings()
{
    QStringList texts;
    for (const ConsoleStatisticsSender::Sending &sending : m_sender.sendings()) {
        QString result = tr("not sent, error 0x%1").arg(quint32(sending.result), 8, 16, QLatin1Char('0'));
        if (sending.result == KOV_ERR_IN_PROGRESS)
            result = tr("on its way");
        else if (sending.result == KOV_ERR_CANCELLED)
            result = tr("kept back: there is no consent any more");
        else if (KOV_SUCCEEDED(sending.result))
            result = tr("sent");
        texts.prepend(sending.time.toString(QStringLiteral("HH:mm:ss  ")) + result + QLatin1Char('\n')
                      + sending.data);
    }
    m_sent->setPlainText(texts.isEmpty() ? tr("Nothing yet.") : texts.join(QLatin1Char('\n')));
    if (texts.isEmpty())
        return;
    const KOV_RESULT result = m_sender.sendings().last().result;
    if (KOV_SUCCEEDED(result) && result != KOV_ERR_IN_PROGRESS)
        report(tr("Received by the site so far: %1.").arg(receivedCount()));
    else if (result != KOV_ERR_IN_PROGRESS)
        report(tr("The statistics were not sent."));
}
