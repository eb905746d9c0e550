#include "examples/console/statistics/ConsoleStatisticsSender.h"
#include "gui/KovGui.h"
#include "gui/log/Log.h"
#include "gui/statistics/CCepStatisticsCollector.h"
#include "gui/statistics/CCepStatisticsProvider.h"
#include "tests/support/KovTest.h"
#include "tests/support/TestServer.h"

class SlowCollector : public CCepStatisticsCollector
{
public:
    void startCollecting() override { isStarted = true; }
    bool isStarted = false;
};

/// The console's sender, the library's request and a server that counts.
class tst_ConsoleStatistics : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        KovGui::setLogOutputFunction([](const char *, std::size_t) {});
        KovGui::init(KAM_CONSOLE);
    }
    void cleanup() { QSettings().clear(); }

    void nothingLeavesWithoutConsent()
    {
        TestServer server([](const TestServer::Request &) { return TestServer::page("204 No Content"); });
        ConsoleStatisticsSender sender(QUrl(QString::fromLatin1(server.url("/statistics"))));
        SlowCollector collector;
        CCepStatisticsProvider provider(&sender, &collector);
        QCoreApplication::processEvents();
        QVERIFY(!collector.isStarted);

        provider.setSendStatistics(true);
        QTRY_VERIFY(collector.isStarted);
        provider.setSendStatistics(false);
        Q_EMIT collector.collected(QStringLiteral("late"));
        QCOMPARE(sender.sendings().last().result, KOV_ERR_CANCELLED);

        provider.setSendStatistics(true);
        const QString data = QStringLiteral("{\"pages\": \"Übersicht\"}");
        Q_EMIT collector.collected(data);
        QTRY_COMPARE(sender.sendings().last().result, KOV_SUCCESS);
        // By now everything that was sent has arrived: the shown text, once.
        QCOMPARE(server.connections, 1);
        QCOMPARE(server.requests.size(), 1);
        QVERIFY(server.requests.first().startsWith("POST /statistics "));
        QVERIFY(server.received.endsWith("\r\n\r\n" + data.toUtf8()));
    }

    void whatIsOnItsWayIsBrokenOff()
    {
        TestServer server([](const TestServer::Request &) {
            return TestServer::Reply{"200 OK\r\n", {}, TestServer::End::Stay};
        });
        ConsoleStatisticsSender sender(QUrl(QString::fromLatin1(server.url())));
        sender.setSendStatisticsEnabled(true);
        sender.sendStatistics(QStringLiteral("data"));
        QTRY_COMPARE(server.requests.size(), 1);
        sender.setSendStatisticsEnabled(false);
        QTRY_COMPARE(sender.sendings().last().result, KOV_ERR_CANCELLED);
        QTRY_COMPARE(server.disconnections, 1);
    }
};

KOV_TEST_MAIN(QApplication, tst_ConsoleStatistics)
#include "tst_console_statistics.moc"
