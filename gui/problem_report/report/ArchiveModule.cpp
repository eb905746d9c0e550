#include "gui/problem_report/report/ArchiveModule_p.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/platform/Module.h"
#include "gui/problem_report/report/ReportSections.h"

#include <QFile>
#include <QFileInfo>

namespace {

/// As the document's class.
constexpr qint64 largestDocument = 32 * 1024 * 1024;

void report(unsigned level, const char *text)
{
    KOV_LOG(int(level), "%s", KovGui::logText(QByteArray(text)).constData());
}

const ReportArchive::Functions *functions()
{
    static const auto *const table = static_cast<const ReportArchive::Functions *>(
        KovGui::Platform::moduleFunctions("reportarchive", report));
    return table;
}

ReportArchive::Result failed(const QString &reason)
{
    return {ReportArchive::Outcome::Failed, reason};
}

template <typename Body>
ReportArchive::Result withArchive(const QString &path, Body body)
{
    QFile file(path);
    // Opening a pipe would wait for its writer.
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return failed(QStringLiteral("the archive cannot be read: %1").arg(file.errorString()));
    return functions() ? body(file) : failed(QStringLiteral("a part of the library is missing"));
}

} // namespace

namespace ArchiveModule {

ReportArchive::Result pack(const QVector<ReportArchive::Source> &sources, QIODevice &archive,
                           const ReportArchive::Progress &progress)
{
    return functions() ? functions()->pack(sources, archive, progress)
                       : failed(QStringLiteral("a part of the library is missing"));
}

ReportArchive::Result unpack(const QString &archivePath, const QString &folder,
                             const ReportArchive::Progress &progress, QStringList *names)
{
    return withArchive(archivePath,
                       [&](QFile &file) { return functions()->unpack(file, folder, progress, names); });
}

ReportArchive::Result readDocument(const QString &archivePath, QByteArray *document)
{
    return withArchive(archivePath, [&](QFile &file) {
        return functions()->readFirst(file, ReportSections::fileName(ReportSections::MainDocument),
                                      largestDocument, document);
    });
}

} // namespace ArchiveModule
