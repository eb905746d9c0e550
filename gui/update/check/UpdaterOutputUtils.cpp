#include "gui/update/check/UpdaterOutputUtils.h"

#include <limits>

namespace {

const QLatin1String descriptionPrefix("UPDATE_DESCRIPTION: ");

/// Trimmed only when the end is there: a value that was cut off is kept as it came.
QString valueBetween(const QString &text, QLatin1String begin, QLatin1String end)
{
    const int beginAt = text.indexOf(begin, 0, Qt::CaseInsensitive);
    if (beginAt < 0)
        return QString();
    const int from = beginAt + begin.size();
    const int endAt = text.indexOf(end, from);
    return endAt < 0 ? text.mid(from) : text.mid(from, endAt - from).trimmed();
}

QString lineValue(const QString &text, QLatin1String begin)
{
    return valueBetween(text, begin, QLatin1String("\n"));
}

QString description(const QString &text)
{
    const QString value = valueBetween(text, QLatin1String("[BEGIN_UPDATE_DESCRIPTION]"),
                                       QLatin1String("[END_UPDATE_DESCRIPTION]"));
    return value.startsWith(descriptionPrefix) ? value.mid(descriptionPrefix.size()).trimmed() : value;
}

/// "15 K" to bytes.
qint64 bytesFromSizeText(QString text)
{
    const qint64 unit = 1024;
    text.chop(2);
    const qint64 kilobytes = text.toLongLong();
    return kilobytes < 0 || kilobytes > std::numeric_limits<qint64>::max() / unit ? 0 : kilobytes * unit;
}

} // namespace

CProductUpdateInfo UpdaterOutputUtils::parse(const QByteArray &output)
{
    const QString text = QString::fromUtf8(output);
    CProductUpdateInfo info(CProductUpdateInfo::MinorUpdate);
    info.download.url = lineValue(text, QLatin1String("FILE_PATH: "));
    info.transactionId = lineValue(text, QLatin1String("UUID: "));
    info.updateDescription = description(text);
    info.download.size = bytesFromSizeText(lineValue(text, QLatin1String("FILE_SIZE: ")));
    info.download.md5 = lineValue(text, QLatin1String("CHECKSUM: "));
    return info;
}
