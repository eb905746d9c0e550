#include "kov_sdk/ReportCollection_p.h"

#include "kov_sdk/ServiceCall_p.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>
#include <QUuid>

#include <thread>

namespace KovService {

namespace {

constexpr int keptReports = 3;
/// Milliseconds between two looks at whether the job still wants it.
constexpr int lookInterval = 50;
/// A main document beyond that stays in the archive.
constexpr int largestDocument = 32 * 1024 * 1024;
const char suffix[] = ".tar.gz";

std::mutex folderMutex;
QString chosenFolder;

QString reportFolder()
{
    const std::lock_guard<std::mutex> lock(folderMutex);
    if (!chosenFolder.isEmpty())
        return chosenFolder;
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return data.isEmpty() ? data : data + QStringLiteral("/tessarine/service-reports");
}

QString collectorPath()
{
    const QString folder = QCoreApplication::applicationDirPath();
    const QString name = QStringLiteral("kovsdk-collect-report");
    return QStandardPaths::findExecutable(
        name, {folder, folder + QStringLiteral("/../libexec"), folder + QStringLiteral("/../lib/kovgui")});
}

/// A new name in the folder, with the oldest of the service's own files out of the way. Empty when there is
/// no such folder.
QString newArchive()
{
    const QString path = reportFolder();
    const QDir folder(path);
    if (path.isEmpty() || !folder.mkpath(QStringLiteral(".")))
        return QString();
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const auto old
        = folder.entryInfoList({QStringLiteral("ProblemReport-*.tar.gz")}, QDir::Files, QDir::Name);
    for (int i = 0; i <= old.size() - keptReports; ++i)
        QFile::remove(old.at(i).filePath());
    return folder.filePath(
        QStringLiteral("ProblemReport-%1-%2%3")
            .arg(QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-hhmmss")),
                 QUuid::createUuid().toString(QUuid::Id128).left(8), QLatin1String(suffix)));
}

/// One run of the program.
class Collection
{
public:
    Collection(const std::shared_ptr<Job> &job, uint32_t kind, const std::string &clientPart)
        : m_job(job)
        , m_kind(kind)
        , m_clientPart(QString::fromStdString(clientPart))
    { }

    void run()
    {
        if (m_kind == KPR_PACKED)
            m_archive = newArchive();
        const QString path = collectorPath();
        if (path.isEmpty() || (m_kind == KPR_PACKED && m_archive.isEmpty())) {
            fail(path.isEmpty() ? "the program kovsdk-collect-report is missing"
                                : "there is no folder for it");
            return;
        }
        QProcess program;
        program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program.start(path, QStringList());
        program.write(QJsonDocument(QJsonObject{{QStringLiteral("kind"), int(m_kind)},
                                                {QStringLiteral("archive"), m_archive},
                                                {QStringLiteral("clientPart"), m_clientPart}})
                          .toJson(QJsonDocument::Compact));
        program.closeWriteChannel();
        follow(program);
        const bool isDone = m_sizeExpected >= 0 && m_document.size() == m_sizeExpected
                            && program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0;
        if (isDone)
            hand();
        else
            fail("the program that collects it broke off");
    }

private:
    bool isWanted() const
    {
        const std::shared_ptr<Job> job = m_job.lock();
        return job && !job->hasEnded();
    }

    void follow(QProcess &program)
    {
        while (isWanted()) {
            const bool isOver = program.state() == QProcess::NotRunning;
            take(program.readAllStandardOutput());
            if (isOver)
                return;
            if (!program.waitForReadyRead(lookInterval) && program.state() == QProcess::Running)
                program.waitForFinished(1);
        }
        program.kill();
        program.waitForFinished();
    }

    void take(const QByteArray &bytes)
    {
        m_output += bytes;
        int end = 0;
        while (m_sizeExpected < 0 && (end = m_output.indexOf('\n')) >= 0) {
            const QList<QByteArray> words = m_output.left(end).split(' ');
            m_output.remove(0, end + 1);
            if (words.first() == "progress") {
                if (const std::shared_ptr<Job> job = m_job.lock())
                    job->setProgress(words.value(1).toUInt());
            } else if (words.first() == "result") {
                m_result = KOV_RESULT_CODE(words.value(1).toUInt(nullptr, 16));
                m_sizeExpected = words.value(2).toInt();
            }
        }
        if (m_sizeExpected < 0)
            return;
        m_document += m_output;
        m_output.clear();
    }

    void hand()
    {
        const std::shared_ptr<Job> job = m_job.lock();
        if (!job)
            return removeArchive();
        std::shared_ptr<Report> report;
        if (m_result == KOV_SUCCESS && m_document.size() > largestDocument)
            m_result = KOV_ERR_PROBLEM_REPORT_IN_FILE;
        if (m_result == KOV_SUCCESS)
            report = std::make_shared<Report>(m_document.toStdString(),
                                              m_archive.section(QLatin1Char('/'), -1).toStdString());
        const bool hasFile = KOV_SUCCEEDED(m_result) || m_result == KOV_ERR_PROBLEM_REPORT_IN_FILE
                             || m_result == KOV_ERR_PROBLEM_REPORT_OUTDATED;
        const bool isTaken = job->end({m_result, nullptr, hasFile ? m_archive.toStdString() : "", report});
        if (!isTaken || !hasFile)
            removeArchive();
    }

    void fail(const char *reason)
    {
        removeArchive();
        const std::shared_ptr<Job> job = m_job.lock();
        if (!job || job->hasEnded())
            return;
        logError("KovApi_GetProblemReport", reason);
        job->end({KOV_ERR_FAILURE, nullptr, std::string()});
    }

    void removeArchive() const
    {
        if (!m_archive.isEmpty())
            QFile::remove(m_archive);
    }

    // Not held: a job that nobody holds any more is gone.
    const std::weak_ptr<Job> m_job;
    const uint32_t m_kind;
    const QString m_clientPart;
    QString m_archive;
    QByteArray m_output;
    QByteArray m_document;
    int m_sizeExpected = -1;
    KOV_RESULT m_result = KOV_ERR_FAILURE;
};

} // namespace

void collectReport(const std::shared_ptr<Job> &job, uint32_t kind, const std::string &clientPart)
{
    // A client need not have an event loop in which a thread of Qt's could be deleted; and only in one of
    // Qt's do processes work everywhere.
    std::thread([collection = std::make_shared<Collection>(job, kind, clientPart)] {
        const std::unique_ptr<QThread> thread(QThread::create([collection] { collection->run(); }));
        thread->start();
        thread->wait();
    }).detach();
}

void setReportFolder(const std::string &path)
{
    const std::lock_guard<std::mutex> lock(folderMutex);
    chosenFolder = QString::fromStdString(path);
}

} // namespace KovService
