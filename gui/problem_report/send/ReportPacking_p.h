#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

class BackgroundWork;
class QObject;

/// Makes a kept report of the parts that the user agreed to send.
namespace ReportPacking {

/// What finished() of the work brings.
struct Packed
{
    bool isDone = false;
    QString reason; ///< why not, in English; empty when it was cancelled
};

/**
 * Work that packs the document and the files of the folder for the id, and notes the report as kept. Its
 * progress is bytes of the files. What it could not finish it removes.
 *
 * @param id        of KeptReports::newId()
 * @param attempts  sendings of this report before
 */
BackgroundWork *pack(const QString &id, int attempts, const QByteArray &document, const QString &folder,
                     const QStringList &files, QObject *parent);

} // namespace ReportPacking

#include <QMetaType>
Q_DECLARE_METATYPE(ReportPacking::Packed)
