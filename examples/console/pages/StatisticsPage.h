#pragma once

#include "examples/console/pages/ConsolePage.h"
#include "examples/console/statistics/ConsoleStatisticsCollector.h"
#include "examples/console/statistics/ConsoleStatisticsSender.h"
#include "gui/messages/record/Messaging.h"
#include "gui/statistics/CCepStatisticsProvider.h"

class QCheckBox;
class QPlainTextEdit;
class SampleSite;

/// Asks for the consent to usage statistics, and shows exactly what was and will be sent.
class StatisticsPage : public ConsolePage
{
    Q_OBJECT

public:
    /// @param site  receives the statistics; stays the caller's
    explicit StatisticsPage(SampleSite *site, QWidget *parent = nullptr);

    ConsoleStatisticsCollector &collector() { return m_collector; }
    const ConsoleStatisticsSender &sender() const { return m_sender; }
    /// What the site has counted.
    int receivedCount() const;

private:
    Q_INVOKABLE void onConsentAnswered(KOV_RESULT code, Messaging::ButtonID answer);
    void ask();
    void showSendings();

    SampleSite *const m_site;
    ConsoleStatisticsCollector m_collector;
    ConsoleStatisticsSender m_sender;
    CCepStatisticsProvider m_provider;
    QCheckBox *m_consent = nullptr;
    QPlainTextEdit *m_next = nullptr;
    QPlainTextEdit *m_sent = nullptr;
};
