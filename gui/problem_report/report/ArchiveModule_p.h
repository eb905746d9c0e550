#pragma once

#include "gui/problem_report/archive/ReportArchive_p.h"

/// The functions of ReportArchive_p.h by the module "reportarchive", which is loaded at the first call. A
/// missing module is a failure with a reason.
namespace ArchiveModule {

ReportArchive::Result pack(const QVector<ReportArchive::Source> &sources, QIODevice &archive,
                           const ReportArchive::Progress &progress);
/// Of a regular file; anything else is refused.
ReportArchive::Result unpack(const QString &archivePath, const QString &folder,
                             const ReportArchive::Progress &progress, QStringList *names);
/// The main document of an archive that begins with it.
ReportArchive::Result readDocument(const QString &archivePath, QByteArray *document);

} // namespace ArchiveModule
