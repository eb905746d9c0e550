#include "gui/problem_report/report/ReportFolder_p.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"

#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QSet>
#include <QStandardPaths>
#include <QUuid>

namespace {

const char prefix[] = "open-";
const char lockSuffix[] = ".lock";
constexpr auto forOwner = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;

void removeLeftovers(const QDir &folder)
{
    // A folder that could not be removed by its owner has no lock any more.
    const auto entries
        = folder.entryList({QStringLiteral("open-*")}, QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot);
    QSet<QString> names;
    for (const QString &entry : entries) {
        const bool isLock = entry.endsWith(QLatin1String(lockSuffix));
        names.insert(isLock ? entry.chopped(int(qstrlen(lockSuffix))) : entry);
    }
    for (const QString &name : qAsConst(names)) {
        // Whoever holds it is alive.
        QLockFile lock(folder.filePath(name + QLatin1String(lockSuffix)));
        lock.setStaleLockTime(0);
        if (lock.tryLock(0))
            QDir(folder.filePath(name)).removeRecursively();
    }
}

} // namespace

QString ReportFolder::common()
{
    const QString data = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    const QString path = data + QStringLiteral("/Problem Reports");
    if (!data.isEmpty() && QDir().mkpath(path) && QFile::setPermissions(path, forOwner))
        return path;
    KOV_LOG(0, "(!)Error: there is no folder for problem reports: %s", KovGui::logText(path).constData());
    return QString();
}

std::unique_ptr<ReportFolder> ReportFolder::create()
{
    const QString place = common();
    if (place.isEmpty())
        return nullptr;
    const QDir folder(place);
    removeLeftovers(folder);
    const QString name = QLatin1String(prefix) + QUuid::createUuid().toString(QUuid::Id128);
    auto lock = std::make_unique<QLockFile>(folder.filePath(name + QLatin1String(lockSuffix)));
    lock->setStaleLockTime(0);
    const QString path = folder.filePath(name);
    if (lock->tryLock(0) && folder.mkdir(name) && QFile::setPermissions(path, forOwner))
        return std::unique_ptr<ReportFolder>(new ReportFolder(path, std::move(lock)));
    KOV_LOG(0, "(!)Error: a folder for a problem report cannot be made: %s",
            KovGui::logText(path).constData());
    return nullptr;
}

ReportFolder::ReportFolder(const QString &path, std::unique_ptr<QLockFile> lock)
    : m_path(path)
    , m_lock(std::move(lock))
{ }

ReportFolder::~ReportFolder()
{
    QDir(m_path).removeRecursively();
}
