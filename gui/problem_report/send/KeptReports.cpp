#include "gui/problem_report/send/KeptReports.h"

#include "gui/problem_report/report/ReportFolder_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSettings>
#include <QUuid>

#include <algorithm>

namespace {

const char recordSuffix[] = ".ini";
const char archiveSuffix[] = ".tar.gz";
const char documentSuffix[] = ".xml";
/// Seconds after which files without a record are those of a process that was killed.
constexpr qint64 leftoverAge = 24 * 3600;

bool isId(const QString &id)
{
    static const QRegularExpression pattern(QStringLiteral("^[0-9a-f]{32}$"));
    return pattern.match(id).hasMatch();
}

QString pathOf(const QString &id, const char *suffix)
{
    const QString folder = isId(id) ? ReportFolder::common() : QString();
    return folder.isEmpty() ? folder : folder + QLatin1Char('/') + id + QLatin1String(suffix);
}

void removeLeftovers(const QDir &folder)
{
    const QDateTime limit = QDateTime::currentDateTime().addSecs(-leftoverAge);
    const auto files
        = folder.entryInfoList({QStringLiteral("*.tar.gz"), QStringLiteral("*.xml")}, QDir::Files);
    for (const QFileInfo &file : files) {
        const bool isKept = QFile::exists(pathOf(file.baseName(), recordSuffix));
        if (isId(file.baseName()) && !isKept && file.lastModified() < limit)
            QFile::remove(file.filePath());
    }
}

} // namespace

QString KeptReports::archivePath(const QString &id)
{
    return pathOf(id, archiveSuffix);
}

QString KeptReports::documentPath(const QString &id)
{
    return pathOf(id, documentSuffix);
}

KeptReports::Report KeptReports::find(const QString &id)
{
    const QString path = pathOf(id, recordSuffix);
    const QFileInfo archive(archivePath(id));
    if (path.isEmpty() || !QFile::exists(path) || !archive.isFile())
        return Report();
    const QSettings record(path, QSettings::IniFormat);
    const int attempts = record.value(QStringLiteral("Attempts"), maximumAttempts).toInt();
    return {id, record.value(QStringLiteral("CreatedOn")).toDateTime(), qMax(0, attempts), archive.size()};
}

QVector<KeptReports::Report> KeptReports::all()
{
    QVector<Report> reports;
    const QString folder = ReportFolder::common();
    if (folder.isEmpty())
        return reports;
    removeLeftovers(QDir(folder));
    const auto records = QDir(folder).entryInfoList({QStringLiteral("*.ini")}, QDir::Files);
    for (const QFileInfo &file : records) {
        const Report report = find(file.baseName());
        if (!report.id.isEmpty())
            reports.append(report);
    }
    std::sort(reports.begin(), reports.end(),
              [](const Report &a, const Report &b) { return a.createdOn < b.createdOn; });
    return reports;
}

void KeptReports::remove(const QString &id)
{
    for (const char *suffix : {recordSuffix, archiveSuffix, documentSuffix}) {
        const QString path = pathOf(id, suffix);
        if (!path.isEmpty())
            QFile::remove(path);
    }
}

QString KeptReports::newId()
{
    return ReportFolder::common().isEmpty() ? QString() : QUuid::createUuid().toString(QUuid::Id128);
}

bool KeptReports::keep(const QString &id, int attempts)
{
    QSettings record(pathOf(id, recordSuffix), QSettings::IniFormat);
    record.setValue(QStringLiteral("CreatedOn"), QDateTime::currentDateTime());
    record.setValue(QStringLiteral("Attempts"), attempts);
    record.sync();
    return record.status() == QSettings::NoError;
}

bool KeptReports::countAttempt(const QString &id)
{
    const Report report = find(id);
    if (report.id.isEmpty() || !report.canBeSent())
        return false;
    // On the disk before the first byte leaves: a process that dies meanwhile has tried.
    QSettings record(pathOf(id, recordSuffix), QSettings::IniFormat);
    record.setValue(QStringLiteral("Attempts"), report.attempts + 1);
    record.sync();
    return record.status() == QSettings::NoError;
}
