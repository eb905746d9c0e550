#include "gui/tasks/http/WebUtils.h"

#include "gui/frame/Application.h"
#include "gui/frame/LibraryVersion_p.h"

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

/// A value as it stands in the query, masked where its key says so.
QString maskedValue(const QString &key, const QString &value)
{
    const QString plainKey = QUrl::fromPercentEncoding(key.toUtf8());
    if (isOneOf(plainKey, {QLatin1String("Password"), QLatin1String("NewPassword")}))
        return QStringLiteral("xxx");
    if (isOneOf(plainKey, {QLatin1String("Name"), QLatin1String("Email"), QLatin1String("E-mail")}))
        return WebUtils::maskedEMail(QUrl::fromPercentEncoding(value.toUtf8()));
    return value;
}

/// Replaces what the URL's masked form hides, in its encoded and its decoded form.
void maskValues(QString &text, const QUrl &url)
{
    // A shorter one hides nothing and would spoil every text.
    constexpr int shortestValue = 3;
    const auto mask = [&text](const QString &value, const QString &masked) {
        if (value.size() >= shortestValue && value != masked)
            text.replace(value, masked);
    };
    for (auto format : {QUrl::FullyEncoded, QUrl::FullyDecoded}) {
        mask(url.userName(format), QStringLiteral("***"));
        mask(url.password(format), QStringLiteral("xxx"));
        for (const auto &[key, value] : QUrlQuery(url).queryItems(format))
            mask(value, maskedValue(key, value));
    }
}

void maskOtherUrls(QString &text)
{
    static const QRegularExpression anyUrl(QStringLiteral("[A-Za-z][A-Za-z0-9+.-]*://[^\\s\"'<>]+"));
    int from = 0;
    for (auto match = anyUrl.match(text); match.hasMatch(); match = anyUrl.match(text, from)) {
        const QString masked = WebUtils::maskedUrl(QUrl(match.captured()));
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
    if (!url.isValid())
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
