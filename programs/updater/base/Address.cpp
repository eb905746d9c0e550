#include "programs/updater/base/Address.h"

#include <QRegularExpression>
#include <algorithm>

namespace {

bool isWebScheme(const QUrl &url)
{
    return url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
}

bool isSecure(const QUrl &url)
{
    return url.scheme() == QLatin1String("https");
}

bool hasUserInfo(const QUrl &url)
{
    return !url.userInfo(QUrl::FullyEncoded).isEmpty() || url.authority().contains(QLatin1Char('@'));
}

bool hasForbiddenCharacter(const QString &text)
{
    return std::any_of(text.begin(), text.end(), [](QChar character) {
        return character.category() == QChar::Other_Control || character == QLatin1Char('\\');
    });
}

bool isForbiddenSegment(const QString &segment)
{
    return segment == QLatin1String(".") || segment == QLatin1String("..")
           || segment.contains(QLatin1Char('/')) || hasForbiddenCharacter(segment);
}

/// Whoever handles the address later may decode a segment once more than it was encoded.
bool isForbiddenHoweverDecoded(const QString &segment)
{
    QString text = segment;
    while (!isForbiddenSegment(text)) {
        const QString decoded = QUrl::fromPercentEncoding(text.toUtf8());
        if (decoded == text)
            return false;
        text = decoded;
    }
    return true;
}

QString packagePathFault(const QString &encodedPath)
{
    const QStringList segments = encodedPath.split(QLatin1Char('/'));
    if (segments.last().isEmpty())
        return QStringLiteral("it names no file");
    if (std::any_of(segments.begin(), segments.end(), isForbiddenHoweverDecoded))
        return QStringLiteral("its path leads elsewhere");
    return QString();
}

} // namespace

QString Address::parseServer(const QString &text, UserInfo userInfo, QUrl *url)
{
    if (text.isEmpty() || text.size() > maximumLength)
        return QStringLiteral("it is empty or longer than %1 characters").arg(maximumLength);
    if (hasForbiddenCharacter(text) || text.contains(QLatin1Char(' ')))
        return QStringLiteral("it holds a blank, a backslash or a control character");
    const QUrl parsed(text, QUrl::StrictMode);
    if (!parsed.isValid() || !isWebScheme(parsed) || !isHost(parsed.host()))
        return QStringLiteral("it is no http or https address");
    if (userInfo == UserInfo::Refused && hasUserInfo(parsed))
        return QStringLiteral("it holds user information");
    *url = parsed.adjusted(QUrl::RemoveFragment);
    return QString();
}

QString Address::parseRedirect(const QUrl &from, const QString &target, QUrl *url)
{
    const QString fault = parseServer(target, UserInfo::Refused, url);
    if (fault.isEmpty() && isSecure(from) && !isSecure(*url))
        return QStringLiteral("it leaves https for http");
    return fault;
}

QString Address::resolvePackage(const QUrl &catalogue, const QString &filePath, QUrl *package)
{
    if (filePath.isEmpty() || filePath.size() > maximumLength)
        return QStringLiteral("it is empty or longer than %1 characters").arg(maximumLength);
    if (hasForbiddenCharacter(filePath))
        return QStringLiteral("it holds a backslash or a control character");
    if (filePath.startsWith(QLatin1String("//")))
        return QStringLiteral("it names a host without http or https");
    const QUrl reference(filePath, QUrl::TolerantMode);
    if (!reference.isValid() || reference.hasFragment() || hasUserInfo(reference))
        return QStringLiteral("it is malformed, or holds user information or a fragment");
    const QString fault = packagePathFault(reference.path(QUrl::FullyEncoded));
    if (!fault.isEmpty())
        return fault;
    const QUrl base = catalogue.adjusted(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
    const QUrl resolved = base.resolved(reference);
    if (!isWebScheme(resolved) || !isHost(resolved.host()))
        return QStringLiteral("it is no http or https address");
    if (isSecure(base) && !isSecure(resolved))
        return QStringLiteral("it leaves https for http");
    const QString afterHost
        = resolved.toString(QUrl::FullyEncoded | QUrl::RemoveScheme | QUrl::RemoveAuthority);
    // Brackets stay as they are in a path; a marker of the output could be spelled with them.
    if (afterHost.contains(QLatin1Char('[')) || afterHost.contains(QLatin1Char(']')))
        return QStringLiteral("it holds square brackets");
    *package = resolved;
    return QString();
}

bool Address::isSameServer(const QUrl &one, const QUrl &other)
{
    const int defaultPort = isSecure(one) ? 443 : 80;
    return one.scheme() == other.scheme() && one.host() == other.host()
           && one.port(defaultPort) == other.port(defaultPort);
}

QString Address::shown(const QUrl &url)
{
    return url.toString(QUrl::FullyEncoded | QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
}

bool Address::isHost(const QString &text)
{
    // An IP version 6 address; its digits are checked when it is used.
    static const QRegularExpression ip6(QStringLiteral("^[0-9a-fA-F:.]*:[0-9a-fA-F:.]*$"));
    static const QRegularExpression name(QStringLiteral("^[\\p{L}\\p{N}_]([\\p{L}\\p{N}._-]{0,252})$"));
    return name.match(text).hasMatch() || (text.size() <= 45 && ip6.match(text).hasMatch());
}
