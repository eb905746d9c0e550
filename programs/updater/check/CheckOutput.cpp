#include "programs/updater/check/CheckOutput.h"

#include <QRegularExpression>

namespace {

/// Larger packages would overflow the byte count of the calling application; none is.
constexpr qint64 maximumFileSize = Q_INT64_C(1) << 50;

/// Characters; release notes are shorter, and the whole report is held and logged by its readers.
constexpr int maximumDescriptionLength = 64 * 1024;

bool matches(const QString &text, const char *pattern)
{
    return QRegularExpression(QLatin1String(pattern)).match(text).hasMatch();
}

QString faultOf(const CUpdate &update, const QString &uuid)
{
    if (!matches(uuid, "\\A[A-Za-z0-9._{}-]{0,128}\\z"))
        return QStringLiteral("Uuid");
    if (!matches(update.checkSum, "\\A([0-9a-fA-F]{32})?\\z"))
        return QStringLiteral("CheckSum");
    return update.fileSize > maximumFileSize ? QStringLiteral("FileSize") : QString();
}

/// The version comes first: the application finds it by a pattern that many a random identifier matches as
/// well.
QString transactionId(const VersionNumber &version, const QString &uuid)
{
    const QString prefix = QLatin1Char('-') + versionText(version);
    if (uuid.isEmpty() || uuid == prefix || uuid.startsWith(prefix + QLatin1Char('-')))
        return uuid.isEmpty() ? prefix : uuid;
    return prefix + QLatin1Char('-') + uuid;
}

/// Keeps line feeds and tabs; other control characters could steer a terminal.
QString withoutControls(const QString &text)
{
    QString result;
    for (const QChar character : text) {
        if (character.category() != QChar::Other_Control || character == QLatin1Char('\n')
            || character == QLatin1Char('\t'))
            result.append(character);
    }
    return result;
}

QString descriptionBlock(const QString &description)
{
    const QString prefix = QStringLiteral("UPDATE_DESCRIPTION: ");
    const QString end = QStringLiteral("[END_UPDATE_DESCRIPTION]");
    QString text = withoutControls(description.left(maximumDescriptionLength)).trimmed();
    text.replace(end, QStringLiteral("(END_UPDATE_DESCRIPTION)"));
    // The application takes one such prefix away.
    if (text.startsWith(prefix))
        text.prepend(prefix);
    return QStringLiteral("[BEGIN_UPDATE_DESCRIPTION]\n%1\n").arg(text) + end + QLatin1Char('\n');
}

} // namespace

QString composeCheckOutput(const ChosenUpdate &chosen, const QUrl &package, QByteArray *output)
{
    const CUpdate &update = chosen.update;
    const QString uuid = update.uuidElement.isEmpty() ? update.uuid : update.uuidElement;
    const QString fault = faultOf(update, uuid);
    if (!fault.isEmpty())
        return fault;
    const qint64 kilobytes = update.fileSize / 1024 + (update.fileSize % 1024 != 0 ? 1 : 0);
    // Every marker is printed, even before an empty value: a missing one would be looked for in the
    // description.
    const QStringList lines{QStringLiteral("FILE_PATH: ") + package.toString(QUrl::FullyEncoded),
                            QStringLiteral("UUID: ") + transactionId(chosen.version, uuid),
                            QStringLiteral("FILE_SIZE: %1 K").arg(kilobytes),
                            QStringLiteral("CHECKSUM: ") + update.checkSum,
                            descriptionBlock(update.updateDescription)};
    *output = lines.join(QLatin1Char('\n')).toUtf8();
    return QString();
}
