#include "gui/data_model/documents/CPackedProblemReport.h"
#include "gui/problem_report/report/ReportSections.h"
#include "kov_sdk_communication/CSdkRequest.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"
#include "tests/support/System.h"

namespace {

QByteArray partWith(const QString &name, const QString &path)
{
    CPackedProblemReport part;
    part.type = QStringLiteral("user");
    CReportAttachment attachment;
    attachment.fileName = name;
    attachment.sourcePath = path;
    part.attachments.append(attachment);
    return part.write();
}

/// The collector that this process started, 0 when there is none.
bool hasTar()
{
    return !QStandardPaths::findExecutable(QStringLiteral("tar")).isEmpty();
}

qint64 collector()
{
    return System::childNamed("kovsdk-collect");
}

} // namespace

/// The embedded service's reports, with its real collector.
class tst_ReportService : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    QStringList archives() const { return QDir(m_folder.path()).entryList({QStringLiteral("*.gz")}); }

    /// So large that packing it takes seconds, and nearly nothing of it is on the disk.
    QString largeLog()
    {
        const QString path = m_folder.filePath(QStringLiteral("large.log"));
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.resize(1LL << 30);
        return path;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(KovService_SetReportFolder(m_folder.path().toUtf8().constData()), KOV_SUCCESS);
    }

    /// This very computer, process and file, handed over and in the archive.
    void collects()
    {
        const QString log = m_folder.filePath(QStringLiteral("source.txt"));
        QVERIFY(writeFile(log, "a line\n"));
        t_SdkHandleWrap job;
        QCOMPARE(KovApi_GetProblemReport(KPR_PACKED, partWith(QStringLiteral("my.log"), log).constData(),
                                         job.out()),
                 KOV_SUCCESS);
        CSdkRequest request(job);
        QSignalSpy completed(&request, &CSdkRequest::jobCompleted);
        QVERIFY(completed.wait(60000));
        QCOMPARE(request.result(), KOV_SUCCESS);
        uint32_t percent = 0;
        QCOMPARE(KovJob_GetProgress(job, &percent), KOV_SUCCESS);
        QCOMPARE(percent, 100u);

        t_SdkHandleWrap report;
        QCOMPARE(KovJob_GetReport(job, report.out()), KOV_SUCCESS);
        uint32_t size = 0;
        QCOMPARE(KovReport_GetData(report, nullptr, &size), KOV_SUCCESS);
        QByteArray data(int(size), '\0');
        size -= 1;
        QCOMPARE(KovReport_GetData(report, data.data(), &size), KOV_ERR_BUFFER_OVERRUN);
        QCOMPARE(KovReport_GetData(report, data.data(), &size), KOV_SUCCESS);
        CPackedProblemReport document;
        QVERIFY(document.read(data));
        QCOMPARE(document.hostInfo->kernelVersion, QSysInfo::kernelVersion());
        QCOMPARE(document.attachments.value(0).size, std::optional<qint64>(7));

        const auto closed = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
        QVERIFY(!System::hasModes || QFile::permissions(request.data()) == closed);
        if (!hasTar())
            QSKIP("There is no tar here.");
        QProcess tar;
        tar.start(QStringLiteral("tar"), {QStringLiteral("-xzOf"), request.data(), QStringLiteral("my.log"),
                                          QStringLiteral("AllProcesses.txt")});
        QVERIFY(tar.waitForFinished());
        const QByteArray content = tar.readAllStandardOutput();
        QVERIFY(content.contains("a line\n"));
        QVERIFY(content.contains(' ' + QByteArray::number(QCoreApplication::applicationPid()) + ' '));
    }

    /// Whatever ends it, there is one completion, and no half of an archive.
    void ends_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<int>("result");
        row("cancelled", "cancel", int(KOV_ERR_CANCELLED));
        row("killed", "kill", int(KOV_ERR_FAILURE));
        row("cut", "truncate", int(KOV_ERR_PROBLEM_REPORT_OUTDATED));
        row("broken part", "part", int(KOV_ERR_INVALID_ARG));
    }
    void ends()
    {
        QFETCH(QString, how);
        const QStringList before = archives();
        const QString log = largeLog();
        QByteArray part = partWith(QStringLiteral("large.log"), log);
        if (how == QLatin1String("part"))
            part = "<Report><broken>";
        t_SdkHandleWrap job;
        QCOMPARE(KovApi_GetProblemReport(KPR_PACKED, part.constData(), job.out()), KOV_SUCCESS);
        CSdkRequest request(job);
        QSignalSpy completed(&request, &CSdkRequest::jobCompleted);
        const auto isPacking = [&job] {
            uint32_t percent = 0;
            return KOV_SUCCEEDED(KovJob_GetProgress(job, &percent)) && percent > 20;
        };
        if (how != QLatin1String("part")) {
            QTRY_VERIFY_WITH_TIMEOUT(isPacking() || completed.count(), 60000);
        }
        const qint64 process = collector();
        if (how == QLatin1String("cancel"))
            request.cancel();
        else if (how == QLatin1String("kill"))
            System::kill(process);
        else if (how == QLatin1String("truncate"))
            QFile::resize(log, 10);
        QVERIFY(completed.count() || completed.wait(60000));
        QTEST(int(request.result()), "result");
        if (request.result() == KOV_ERR_PROBLEM_REPORT_OUTDATED)
            QFile::remove(request.data());
        QTRY_VERIFY(collector() == 0 && archives() == before);
        QCOMPARE(completed.count(), 1);
    }

    /// The last handle: nobody wants it any more.
    void isForgotten()
    {
        const QStringList before = archives();
        t_SdkHandleWrap job;
        QCOMPARE(KovApi_GetProblemReport(
                     KPR_PACKED, partWith(QStringLiteral("large.log"), largeLog()).constData(), job.out()),
                 KOV_SUCCESS);
        QTRY_VERIFY_WITH_TIMEOUT(collector() != 0, 60000);
        job.reset();
        QTRY_VERIFY(collector() == 0 && archives() == before);
    }

    /// Another user's link among the client's files leads nowhere; the report comes without it.
    void followsNoLink()
    {
        const QString link = m_folder.filePath(QStringLiteral("link"));
        if (!System::makeSymbolicLink(QStringLiteral("/etc/passwd"), link))
            QSKIP("This system makes no links.");
        t_SdkHandleWrap job;
        QCOMPARE(KovApi_GetProblemReport(KPR_PACKED, partWith(QStringLiteral("a.log"), link).constData(),
                                         job.out()),
                 KOV_SUCCESS);
        CSdkRequest request(job);
        QSignalSpy completed(&request, &CSdkRequest::jobCompleted);
        QVERIFY(completed.wait(60000));
        if (!hasTar())
            QSKIP("There is no tar here.");
        QProcess tar;
        tar.start(QStringLiteral("tar"), {QStringLiteral("-tzf"), request.data()});
        QVERIFY(tar.waitForFinished());
        const QByteArray names = tar.readAllStandardOutput();
        QVERIFY(names.startsWith("Report.xml\n") && !names.contains("a.log"));
    }
};

KOV_TEST_MAIN(QApplication, tst_ReportService)
#include "tst_report_service.moc"
