#include "gui/update/install/StalePackages_p.h"

#include "gui/tasks/download/FileName.h"

#include <QRegularExpression>

QStringList StalePackages::among(const QStringList &names, const QString &currentName)
{
    const QString numbers = QStringLiteral("\\d+[._-]\\d+[._-]\\d+[._-]\\d+");
    static const QRegularExpression form(QLatin1String("\\A(.+?-)") + numbers
                                         + QLatin1String("([._-][A-Za-z].*)\\z"));
    const QRegularExpressionMatch parts = form.match(currentName);
    if (!parts.hasMatch())
        return QStringList();

    const auto literally
        = [](const char *text) { return QRegularExpression::escape(QString::fromLatin1(text)); };
    const QRegularExpression stale(
        QStringLiteral("\\A(%1%2%3)(?:%4|%5|%6)?\\z")
            .arg(QRegularExpression::escape(parts.captured(1)), numbers,
                 QRegularExpression::escape(parts.captured(2)), literally(FileName::partSuffix),
                 literally(FileName::sidecarSuffix), literally(FileName::sidecarDraftSuffix)));
    QStringList found;
    for (const QString &name : names) {
        const QRegularExpressionMatch match = stale.match(name);
        if (match.hasMatch() && match.captured(1) != currentName)
            found << name;
    }
    return found;
}
