// A report with a large log: collected, opened, looked at, names taken out, sent to the sample service.
// Prints the time of each step, the longest time in which the event loop did not turn (and how much of the
// processor it used in one turn: the rest is other programs), and the most memory of this process.
//
// usage: bench_report [MiB]
//
// 1024 without a number. Run it with QT_QPA_PLATFORM=offscreen and a disk that holds the log five times.
#include "gui/KovGui.h"
#include "gui/data_model/documents/CPackedProblemReport.h"
#include "gui/problem_report/browser/CProblemReportBrowserDialog.h"
#include "gui/problem_report/dialog/CTessarineProblemReportDialog.h"
#include "gui/problem_report/send/ReportService.h"
#include "gui/window/CProgressDialog.h"
#include "kov_sdk_communication/CSdkRequest.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeWidget>

#include <cstdio>
#include <ctime>
#include <functional>
#include <sys/resource.h>

namespace {

qint64 processorTime()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return qint64(time.tv_sec) * 1000000000 + time.tv_nsec;
}

/// The longest turn of the event loop, in milliseconds.
class Stalls
{
public:
    Stalls()
    {
        restart();
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            m_longest = qMax(m_longest, m_clock.nsecsElapsed());
            m_busiest = qMax(m_busiest, processorTime() - m_processor);
            restart();
        });
        m_timer.start(0);
    }
    double takeLongest() { return double(std::exchange(m_longest, 0)) / 1e6; }
    double takeBusiest() { return double(std::exchange(m_busiest, 0)) / 1e6; }
    void restart()
    {
        m_clock.start();
        m_processor = processorTime();
    }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_processor = 0;
    qint64 m_longest = 0;
    qint64 m_busiest = 0;
};

void wait(const std::function<bool()> &condition)
{
    while (!condition())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void say(const char *step, const QElapsedTimer &clock, Stalls &stalls)
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const double longest = stalls.takeLongest();
    std::printf("%-12s %8.2f s   longest stall %6.1f ms (processor %5.1f ms)   most memory %6.1f MiB\n", step,
                double(clock.elapsed()) / 1000, longest, stalls.takeBusiest(),
                double(usage.ru_maxrss) / 1024);
    std::fflush(stdout);
}

void writeLog(const QString &path, qint64 size)
{
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    quint32 state = 1;
    while (file.size() < size) {
        QByteArray block;
        for (int i = 0; i < 20000; ++i) {
            state = state * 1664525 + 1013904223;
            block += "2026-11-22 03:14:15.926 [" + QByteArray::number(state % 9999) + "] request "
                     + QByteArray::number(state, 16) + " took a while\n";
        }
        file.write(block);
    }
}

QTreeWidgetItem *itemOf(QTreeWidget *tree, const QString &source)
{
    for (QTreeWidgetItemIterator it(tree); *it; ++it) {
        if ((*it)->data(0, Qt::UserRole + 1).toString() == source)
            return *it;
    }
    return nullptr;
}

} // namespace

int main(int argc, char *argv[])
{
    const QTemporaryDir folder(QDir::currentPath() + QStringLiteral("/report-XXXXXX"));
    qputenv("XDG_DATA_HOME", folder.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", folder.path().toLocal8Bit());
    QApplication application(argc, argv);
    KovGui::init(KAM_CONSOLE);
    const qint64 size = qint64(argc > 1 ? atoi(argv[1]) : 1024) << 20;
    const QString log = folder.filePath(QStringLiteral("large.log"));
    writeLog(log, size);
    QDir(folder.path()).mkdir(QStringLiteral("service"));
    QProcess service;
    service.start(QCoreApplication::applicationDirPath() + QStringLiteral("/sample_report_service"),
                  {folder.filePath(QStringLiteral("service"))});
    service.waitForReadyRead();
    ReportService::setAddress(QUrl(QStringLiteral("http://127.0.0.1:%1/reports")
                                       .arg(QString::fromLatin1(service.readLine().mid(5).trimmed()))));
    Stalls stalls;
    QElapsedTimer clock;

    clock.start();
    CPackedProblemReport part;
    part.type = QStringLiteral("user");
    CReportAttachment attachment;
    attachment.fileName = QStringLiteral("large.log");
    attachment.sourcePath = log;
    part.attachments.append(attachment);
    t_SdkHandleWrap job;
    KovApi_GetProblemReport(KPR_PACKED, part.write().constData(), job.out());
    CSdkRequest request(job);
    stalls.restart();
    wait([&request] { return request.isCompleted(); });
    t_SdkHandleWrap report;
    uint32_t bytes = 0;
    if (KOV_FAILED(KovJob_GetReport(job, report.out())))
        return 1;
    KovReport_GetData(report, nullptr, &bytes);
    QByteArray document(int(bytes), '\0');
    KovReport_GetData(report, document.data(), &bytes);
    say("collected", clock, stalls);

    clock.start();
    CTessarineProblemReportDialog dialog(request.data(), document, nullptr);
    auto *const send = dialog.findChild<QPushButton *>(QStringLiteral("m_pbSend"));
    dialog.show();
    wait([send] { return send->isEnabled(); });
    say("opened", clock, stalls);

    clock.start();
    QMetaObject::invokeMethod(&dialog, "onShowTechData");
    auto *const browser = dialog.findChild<CProblemReportBrowserDialog *>();
    auto *const tree = browser->findChild<QTreeWidget *>();
    tree->setCurrentItem(itemOf(tree, QStringLiteral("large.log")));
    auto *const view = browser->findChild<QPlainTextEdit *>(QStringLiteral("m_textFileView"));
    auto *const bar = browser->findChild<QScrollBar *>(QStringLiteral("m_sbFilePosition"));
    for (int i = 0; i < 400; ++i) {
        if (i % 2)
            bar->setValue(int(qint64(bar->maximum()) * i / 400));
        else
            view->verticalScrollBar()->triggerAction(QAbstractSlider::SliderPageStepAdd);
        QCoreApplication::processEvents();
    }
    const auto *const personal = browser->findChild<QLabel *>(QStringLiteral("m_lblPersonal"));
    wait([personal] { return !personal->text().endsWith(QLatin1String("...")); });
    say("looked at", clock, stalls);

    clock.start();
    const auto *const takeOut = browser->findChild<QPushButton *>(QStringLiteral("m_pbTakeOut"));
    if (takeOut->isEnabled()) {
        Q_EMIT browser->takeOutRequested();
        wait([personal] { return personal->text().startsWith(QLatin1String("No part")); });
    }
    browser->close();
    say("taken out", clock, stalls);

    clock.start();
    send->click();
    wait([&dialog] { return !dialog.findChild<CProgressDialog *>(); });
    say("sent", clock, stalls);
    const auto got = QDir(folder.filePath(QStringLiteral("service"))).entryInfoList({QStringLiteral("*.gz")});
    std::printf("the service has %lld bytes\n", got.isEmpty() ? 0LL : got.first().size());
    service.closeWriteChannel();
    service.waitForFinished();
    return got.isEmpty();
}
