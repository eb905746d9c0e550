#include "programs/updater/base/VersionNumber.h"

#include <QStringList>
#include <algorithm>

QVector<quint32> parseVersionParts(const QString &text)
{
    QString dotted = text.trimmed();
    const QStringList texts = dotted.replace(QLatin1Char('-'), QLatin1Char('.')).split(QLatin1Char('.'));
    if (texts.size() > 4)
        return {};
    QVector<quint32> parts;
    for (const QString &part : texts) {
        bool ok = false;
        parts.append(part.toUInt(&ok));
        if (!ok || !part.at(0).isDigit())
            return {};
    }
    return parts;
}

bool parseVersion(const QString &text, VersionNumber *version)
{
    const QVector<quint32> parts = parseVersionParts(text);
    if (parts.size() != 4)
        return false;
    std::copy(parts.begin(), parts.end(), version->begin());
    return true;
}

QString versionText(const VersionNumber &version)
{
    return QStringLiteral("%1.%2.%3-%4").arg(version[0]).arg(version[1]).arg(version[2]).arg(version[3]);
}
