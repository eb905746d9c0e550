#include "programs/updater/install/Journal.h"

#include <QRegularExpression>

QByteArray Journal::text() const
{
    const QByteArray versions = "before " + before + "\nafter " + after + '\n';
    return isStepBack() ? versions + "reason " + reason.toUtf8() + '\n'
                        : versions + "key " + key + "\ncounter " + QByteArray::number(counter) + '\n';
}

std::optional<Journal> Journal::parse(const QByteArray &text)
{
    static const QRegularExpression pattern(
        QStringLiteral("\\Abefore ([0-9a-f]{64})\nafter ([0-9a-f]{64})\n"
                       "(?:key ([0-9a-f]{16})\ncounter ([0-9]{1,20})|reason ([^\n]{1,200}))\n\\z"));
    const QRegularExpressionMatch match = pattern.match(QString::fromUtf8(text));
    if (!match.hasMatch())
        return std::nullopt;
    return Journal{match.captured(1).toLatin1(), match.captured(2).toLatin1(), match.captured(3).toLatin1(),
                   match.captured(4).toULongLong(), match.captured(5)};
}
