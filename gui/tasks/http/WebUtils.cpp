#include "gui/tasks/http/WebUtils.h"

#include "gui/frame/Application.h"
#include "gui/frame/LibraryVersion.h"

#include <QRegularExpression>
#include <QSysInfo>
#include <QUrlQuery>

namespace {

using Keys = std::initializer_list<QLatin1String>;

bool isOneOf(const QString &key, Keys keys)
{
    for (QLatin1String candidate : keys) {
        if (key.compare(candidate, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

QString encoded(const QString &text)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

bool isPerson(const QString &key)
{
    return isOneOf(key, {QLatin1String("Name"), QLatin1String("Email"), QLatin1String("E-mail")});
}

bool isPassword(const QString &key)
{
    return isOneOf(key, {QLatin1String("Password"), QLatin1String("NewPassword")});
}

/// A value as it stands in the query.
QString maskedValue(const QString &key, const QString &value)
{
    const QString plainKey = QUrl::fromPercentEncoding(key.toUtf8());
    if (value.isEmpty() && !isPassword(plainKey))
        return value;
    if (isPerson(plainKey))
        return WebUtils::maskedEMail(QUrl::fromPercentEncoding(value.toUtf8()));
    return QStringLiteral("xxx");
}

/// Replaces what the URL's masked form hides, in its encoded and its decoded form.
void maskValues(QString &text, const QUrl &url)
{
    // Shorter ones hide nothing and would spoil every text.
    constexpr int shortestSecret = 3;
    constexpr int shortestValue = 8;
    const auto mask = [&text](const QString &value, const QString &masked, int shortest) {
        if (value.size() >= shortest && value != masked)
            text.replace(value, masked);
    };
    for (auto format : {QUrl::FullyEncoded, QUrl::FullyDecoded}) {
        mask(url.userName(format), QStringLiteral("***"), shortestSecret);
        mask(url.password(format), QStringLiteral("xxx"), shortestSecret);
        for (const auto &[key, value] : QUrlQuery(url).queryItems(format)) {
            const bool isSecret = isPerson(key) || isPassword(key);
            mask(value, maskedValue(key, value), isSecret ? shortestSecret : shortestValue);
        }
    }
}

void maskOtherUrls(QString &text)
{
    // User information reaches to the last "@" before the path: a password may hold one, and quotes.
    static const QRegularExpression anyUrl(
        QStringLiteral("([A-Za-z][A-Za-z0-9+.-]*:)/+(?:[^/?#\\s]*@)?[^\\s\"'<>]*"));
    int from = 0;
    for (auto match = anyUrl.match(text); match.hasMatch(); match = anyUrl.match(text, from)) {
        QString masked = WebUtils::maskedUrl(QUrl(match.captured()));
        if (masked.isEmpty())
            masked = match.captured(1) + QStringLiteral("//***");
        text.replace(match.capturedStart(), match.capturedLength(), masked);
        from = match.capturedStart() + masked.size();
    }
}

} // namespace

namespace WebUtils {

QString maskedEMail(const QString &address)
{
    if (address.isEmpty())
        return QString();
    // The last "@": a quoted local part may hold another one.
    const int at = address.lastIndexOf(QLatin1Char('@'));
    const QString first = at == 0 ? QString() : address.left(address.at(0).isHighSurrogate() ? 2 : 1);
    return first + QStringLiteral("***") + (at < 0 ? QString() : address.mid(at));
}

QString maskedUrl(const QUrl &url)
{
    if (!url.isValid() || (url.host().isEmpty() && url.toString().contains(QLatin1Char('@'))))
        return QString();
    QUrl masked = url;
    masked.setUserInfo(QString());
    if (url.hasQuery()) {
        QUrlQuery query;
        for (const auto &[key, value] : QUrlQuery(url).queryItems(QUrl::FullyEncoded))
            query.addQueryItem(key, maskedValue(key, value));
        masked.setQuery(query);
    }
    return masked.toString();
}

QString withMaskedUrls(const QString &text, const QUrl &url)
{
    QString result = text;
    const QString masked = maskedUrl(url);
    for (auto format : {QUrl::PrettyDecoded, QUrl::FullyEncoded}) {
        for (const QString &spelling : {url.toString(format), url.toDisplayString(format)}) {
            if (!spelling.isEmpty())
                result.replace(spelling, masked);
        }
    }
    maskOtherUrls(result);
    maskValues(result, url);
    return result;
}

bool isOpenAddress(const QString &address)
{
    const QUrl url(address);
    const bool isWeb = url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    return url.isValid() && isWeb && !url.host().isEmpty() && url.userInfo().isEmpty();
}

QueryItems productInfo(const QString &localeName)
{
    return {{QStringLiteral("Product"), EnumUtils::clientAppNameFromAppMode(KovGui::applicationMode())},
            {QStringLiteral("Version"), QString::fromLatin1(LibraryVersion::text())},
            {QStringLiteral("Os"), QSysInfo::prettyProductName()},
            {QStringLiteral("Locale"), localeName}};
}

QUrl withQueryItems(const QUrl &url, const QueryItems &items)
{
    if (items.isEmpty())
        return url;
    QUrl result = url;
    QUrlQuery query(url);
    for (const auto &[key, value] : items)
        query.addQueryItem(encoded(key), encoded(value));
    result.setQuery(query);
    return result;
}

} // namespace WebUtils
