#include "examples/console/preferences/MachineService.h"

#include "examples/console/sample/ConsoleMessages.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>
#include <QThread>
#include <QThreadPool>

namespace {

constexpr int answersAfterMs = 150;
constexpr double mostMemoryKiB = 16.0 * 1024 * 1024;

QJsonObject firstConfiguration()
{
    return {{QStringLiteral("name"), QStringLiteral("Web Server")},
            {QStringLiteral("memoryKiB"), 2 * 1024 * 1024},
            {QStringLiteral("processors"), 2},
            {QStringLiteral("bootDevice"), QStringLiteral("disk")},
            {QStringLiteral("autostart"), true},
            {QStringLiteral("discardChanges"), false},
            {QStringLiteral("description"), QString()}};
}

QJsonObject configuration(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return firstConfiguration();
    return QJsonDocument::fromJson(file.readAll()).object();
}

bool store(const QString &fileName, const QJsonObject &configuration)
{
    QDir().mkpath(QFileInfo(fileName).path());
    QSaveFile file(fileName);
    const QByteArray content = QJsonDocument(configuration).toJson();
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(content) == content.size()
           && file.commit();
}

/// Empty when there is nothing to object to.
QString objection(const QJsonObject &configuration)
{
    if (configuration.value(QLatin1String("name")).toString().trimmed().isEmpty())
        return QCoreApplication::translate("MachineService", "A machine needs a name.");
    if (configuration.value(QLatin1String("memoryKiB")).toDouble() > mostMemoryKiB)
        return QCoreApplication::translate("MachineService",
                                           "This computer lends a machine 16,384 MB of memory at most.");
    return QString();
}

void refuse(const t_SdkHandleWrap &job, const QString &reason)
{
    t_SdkHandleWrap event;
    KovService_CreateEvent(ConsoleMessages::MachineRefused, nullptr, event.out());
    KovService_AddStringParam(event, "reason", reason.toUtf8().constData());
    KovService_CompleteJob(job, ConsoleMessages::MachineRefused, event, nullptr);
}

/// A job of the service; `work` runs on a thread of its own.
template <typename Work>
t_SdkHandleWrap startJob(const std::shared_ptr<std::atomic_bool> &available, const Work &work)
{
    t_SdkHandleWrap job;
    KovService_CreateJob(job.out());
    QThreadPool::globalInstance()->start([=] {
        QThread::msleep(answersAfterMs);
        if (*available)
            work(job);
        else
            KovService_CompleteJob(job, KOV_ERR_FAILURE, nullptr, nullptr);
    });
    return job;
}

} // namespace

MachineService::MachineService(const QString &fileName)
    : m_fileName(fileName)
{ }

t_SdkHandleWrap MachineService::load() const
{
    return startJob(m_available, [fileName = m_fileName](const t_SdkHandleWrap &job) {
        const QByteArray data = QJsonDocument(configuration(fileName)).toJson(QJsonDocument::Compact);
        KovService_CompleteJob(job, KOV_SUCCESS, nullptr, data.constData());
    });
}

t_SdkHandleWrap MachineService::save(const QJsonObject &changes) const
{
    return startJob(m_available, [fileName = m_fileName, changes](const t_SdkHandleWrap &job) {
        QJsonObject whole = configuration(fileName);
        for (auto change = changes.begin(); change != changes.end(); ++change)
            whole.insert(change.key(), change.value());
        const QString reason = objection(whole);
        if (!reason.isEmpty())
            return refuse(job, reason);
        const KOV_RESULT result = store(fileName, whole) ? KOV_SUCCESS : KOV_ERR_FAILURE;
        KovService_CompleteJob(job, result, nullptr, nullptr);
    });
}
