#include "gui/problem_report/send/ReportPacking_p.h"

#include "gui/problem_report/report/ArchiveModule_p.h"
#include "gui/problem_report/report/BackgroundWork_p.h"
#include "gui/problem_report/report/ReportSections.h"
#include "gui/problem_report/send/KeptReports.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

using ReportArchive::Source;

Source documentSource(const QByteArray &document)
{
    return {ReportSections::fileName(ReportSections::MainDocument), document.size(), [document] {
                auto buffer = std::make_unique<QBuffer>();
                buffer->setData(document);
                buffer->open(QIODevice::ReadOnly);
                return buffer;
            }};
}

Source fileSource(const QString &name, const QString &path)
{
    return {name, QFileInfo(path).size(), [path]() -> std::unique_ptr<QIODevice> {
                auto file = std::make_unique<QFile>(path);
                if (!file->open(QIODevice::ReadOnly | QIODevice::Unbuffered))
                    return nullptr;
                return file;
            }};
}

bool write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::NewOnly)
           && file.setPermissions(QFile::ReadOwner | QFile::WriteOwner)
           && file.write(content) == content.size() && file.flush();
}

ReportPacking::Packed packNow(const QString &id, int attempts, const QByteArray &document,
                              const QVector<Source> &sources, const BackgroundWork::GoOn &goOn)
{
    QFile archive(KeptReports::archivePath(id));
    if (document.isEmpty() || !write(KeptReports::documentPath(id), document)
        || !archive.open(QIODevice::WriteOnly | QIODevice::NewOnly)
        || !archive.setPermissions(QFile::ReadOwner | QFile::WriteOwner))
        return {false, QStringLiteral("the report cannot be written: %1").arg(archive.errorString())};
    const ReportArchive::Result result = ArchiveModule::pack(sources, archive, goOn);
    if (result.outcome == ReportArchive::Outcome::Cancelled)
        return {false, QString()};
    if (result.outcome != ReportArchive::Outcome::Done)
        return {false, result.reason};
    archive.close();
    if (archive.error() == QFile::NoError && KeptReports::keep(id, attempts))
        return {true, QString()};
    return {false, QStringLiteral("the report cannot be written: %1").arg(archive.errorString())};
}

} // namespace

BackgroundWork *ReportPacking::pack(const QString &id, int attempts, const QByteArray &document,
                                    const QString &folder, const QStringList &files, QObject *parent)
{
    QVector<Source> sources{documentSource(document)};
    for (const QString &name : files)
        sources.append(fileSource(name, QDir(folder).filePath(name)));
    return new BackgroundWork(
        [id, attempts, document, sources](const BackgroundWork::GoOn &goOn) {
            const Packed packed = packNow(id, attempts, document, sources, goOn);
            if (!packed.isDone)
                KeptReports::remove(id);
            return QVariant::fromValue(packed);
        },
        parent);
}
