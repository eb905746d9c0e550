#include "gui/tasks/progress/CAbstractProgressOperation.h"
#include "gui/tasks/progress/CTimeEstimator.h"
#include "gui/tasks/progress/FormatUtils.h"
#include "tests/support/KovTest.h"

namespace {

qint64 now = 0;

class Operation : public CAbstractProgressOperation
{
public:
    using CAbstractProgressOperation::setState;
    void start() override { called += "start "; }
    void pause() override { called += "pause "; }
    QString called;
};

} // namespace

class tst_Progress : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void toggle()
    {
        Operation operation;
        for (int state : {0, 1, 2, 3}) {
            operation.setState(CAbstractProgressOperation::State(state));
            operation.toggleStartPause();
        }
        QCOMPARE(operation.called, "start pause start pause ");
    }

    void estimate_data()
    {
        // max: of a range from 0; passed: ms from the start to the progress; later: ms from there to the
        // question
        Table<qint64, qint64, qint64, qint64, QTime> row;
        row("a quarter done", 100, 25, 10000, 0, QTime(0, 0, 30));
        row("time goes on", 100, 25, 10000, 20000, QTime(0, 0, 10));
        row("one millisecond late", 100, 50, 1000, 1001, QTime(0, 0));
        row("at the minimum", 100, 0, 5000, 0, QTime(0, 0));
        row("half a millisecond counts up", 5, 2, 1, 0, QTime(0, 0, 0, 2));
        row("before the minimum", 100, -10, 5000, 0, QTime(0, 0));
        row("more than a day", std::numeric_limits<qint64>::max(), 1, 1000, 0, QTime(23, 59, 59, 999));
        row("terabytes", 4000000000000, 1000000000000, 3600000, 0, QTime(3, 0));
        row("across midnight", 100, 50, 13 * 3600000, 0, QTime(13, 0));
        row("clock set back", 100, 50, -5000, 0, QTime(0, 0));
    }

    void estimate()
    {
        const auto [max, value, passed, later, remaining] = cells<qint64, qint64, qint64, qint64, QTime>();
        CTimeEstimator estimator;
        estimator.setClock([] { return now; });
        now = QDateTime(QDate(2024, 5, 1), QTime(18, 0)).toMSecsSinceEpoch();
        estimator.start();
        estimator.setRange(0, max);
        now += passed;
        estimator.setProgress(value);
        now += later;
        QCOMPARE(estimator.estimatedTime(), remaining);
        QCOMPARE(estimator.elapsedTime(),
                 QTime::fromMSecsSinceStartOfDay(int(qMax<qint64>(0, passed + later))));
    }

    void progressText()
    {
        CTimeEstimator estimator;
        estimator.setRange(0, 4 << 20);
        QCOMPARE(estimator.getTextForProgress(5, 10), "5 bytes of 10 bytes");
        estimator.start();
        QTRY_VERIFY(estimator.elapsedTime() > QTime(0, 0));
        estimator.setClock([] { return now; });
        estimator.start();
        now += 61999;
        QCOMPARE(estimator.getTextForProgress(0, 100), QString());
        QCOMPARE(estimator.getTextForProgress(100, 0), QString());
        QCOMPARE(estimator.getTextForProgress(2 << 20, 4 << 20), "2.0 MB of 4.0 MB - 1 min 1 s");
    }

    void amounts()
    {
        const auto restore = qScopeGuard([] { QLocale::setDefault(QLocale::c()); });
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        QCOMPARE(FormatUtils::dataSize(-1), "0 bytes");
        QCOMPARE(FormatUtils::dataSize(std::numeric_limits<qint64>::max()), "8.0 EB");
        const auto both = [](qint64 seconds) {
            return FormatUtils::duration(seconds) + ", "
                   + FormatUtils::duration(seconds, FormatUtils::LongForm);
        };
        QCOMPARE(both(-5), "0 s, 0 seconds");
        QCOMPARE(both(61), "1 min 1 s, 1 minute 1 second");
        QCOMPARE(both(3659), "1 h, 1 hour");
        QCOMPARE(both(2 * 86400 - 1), "1 d 23 h, 1 day 23 hours");
        QCOMPARE(both(1234 * 86400LL + 3600), "1,234 d 1 h, 1,234 days 1 hour");
        QLocale::setDefault(QLocale(QLocale::French));
        QCOMPARE(FormatUtils::dataSize(1536), "1,5 ko");
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_Progress)
#include "tst_progress.moc"
