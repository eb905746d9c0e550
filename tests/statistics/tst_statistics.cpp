#include "gui/frame/Clock.h"
#include "gui/statistics/CCepStatisticsCollector.h"
#include "gui/statistics/CCepStatisticsProvider.h"
#include "gui/statistics/CCepStatisticsSender.h"
#include "tests/support/EventLog.h"
#include "tests/support/KovTest.h"
#include "tests/support/LogCapture.h"

#include <QScopeGuard>

class SampleCollector : public CCepStatisticsCollector
{
public:
    explicit SampleCollector(EventLog &log)
        : m_log(log)
    { }
    void startCollecting() override { m_log.add(QStringLiteral("collect")); }

private:
    EventLog &m_log;
};

class SampleSender : public CCepStatisticsSender
{
public:
    SampleSender(EventLog &log, bool consent)
        : m_log(log)
        , m_consent(consent)
    { }
    bool isSendStatisticsEnabled() const override { return m_consent; }
    void setSendStatisticsEnabled(bool enabled) override
    {
        Q_EMIT sendStatisticsChanged(m_consent = enabled);
    }
    void sendStatistics(const QString &data) override { m_log.add(data); }

private:
    EventLog &m_log;
    bool m_consent;
};

class tst_Statistics : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void schedule_data()
    {
        QTest::addColumn<bool>("consent");
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("events");
        QTest::addColumn<QString>("record");
        QTest::addColumn<bool>("runs");

        const char *const collects = "There is a time to send client statistics, start collecting";
        row("consent from the start", true, "loop loop 8h", "collect, collect", collects, true);
        row("none", false, "loop", "", "", false);
        row("given twice", false, "on on loop", "collect", collects, true);
        row("withdrawn before the first run", true, "off loop", "", "", false);
        row("withdrawn and given before it", true, "off on loop", "collect", collects, true);
        row("withdrawn at last", true, "off on off loop", "", "", false);
        row("clock changed", true, "loop next-year loop on last-year loop on loop", "collect", collects,
            true);
        row("given anew", true, "loop off loop on loop", "collect, collect", collects, true);
        row("withdrawn while collecting", true, "loop off data", "collect, data", "Send client statistics",
            false);
        row("collector gone", true, "no-collector loop 8h", "", "(!)Error: the collector is gone", true);
        row("sender gone", true, "loop no-sender data", "collect", "(!)Error: the sender is gone, the stat",
            true);
        row("sender gone, time passed", true, "loop no-sender 8h", "collect",
            "(!)Error: the sender is gone, no", true);
        row("sender gone, choice made", true, "no-sender on", "", "(!)Error: the sender is gone, the choice",
            true);
    }

    void schedule()
    {
        QFETCH(bool, consent);
        QFETCH(QString, script);
        QFETCH(QString, record);
        const LogCapture log;
        EventLog events;
        const QDateTime now = QDateTime::currentDateTime();
        const auto restoreClock = qScopeGuard([] { Clock::set({}); });
        auto collector = std::make_unique<SampleCollector>(events);
        auto sender = std::make_unique<SampleSender>(events, consent);
        CCepStatisticsProvider provider(sender.get(), collector.get(), nullptr);
        const auto *timer = provider.findChild<QTimer *>(QStringLiteral("m_timer"));
        const QMap<QString, std::function<void()>> actions{
            {QStringLiteral("loop"), [] { QCoreApplication::processEvents(); }},
            {QStringLiteral("8h"),
             [&] { QMetaObject::invokeMethod(const_cast<QTimer *>(timer), "timeout"); }},
            {QStringLiteral("next-year"), [&] { Clock::set([now] { return now.addYears(1); }); }},
            {QStringLiteral("last-year"), [&] { Clock::set([now] { return now.addYears(-1); }); }},
            {QStringLiteral("on"), [&] { provider.setSendStatistics(true); }},
            {QStringLiteral("off"), [&] { provider.setSendStatistics(false); }},
            {QStringLiteral("data"), [&] { Q_EMIT collector->collected(QStringLiteral("data")); }},
            {QStringLiteral("no-collector"), [&] { collector.reset(); }},
            {QStringLiteral("no-sender"), [&] { sender.reset(); }},
        };
        const auto steps = script.split(QLatin1Char(' '));
        for (const QString &step : steps)
            actions.value(step)();
        QTEST(events.take(), "events");
        QVERIFY2(record.isEmpty() ? LogCapture::text().isEmpty()
                                  : LogCapture::text().contains(record.toUtf8()),
                 LogCapture::text().constData());
        QTEST(timer->isActive(), "runs");
        QCOMPARE(timer->interval(), 28800000);
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_Statistics)
#include "tst_statistics.moc"
