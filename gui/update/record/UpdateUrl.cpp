#include "gui/update/record/UpdateUrl_p.h"

#include "gui/log/LogText.h"
#include "gui/tasks/http/WebUtils.h"

#include <QUrl>

#include <algorithm>

namespace {

const int longestAddress = 2048;

bool isForbidden(QChar c)
{
    return c.isSpace() || c.unicode() < 0x20 || c.unicode() == 0x7f || c == QLatin1Char('"')
           || c == QLatin1Char('\'') || c == QLatin1Char('\\');
}

} // namespace

QString UpdateUrl::checked(const QString &address)
{
    if (address.size() > longestAddress || std::any_of(address.begin(), address.end(), isForbidden))
        return QString();
    const QUrl url(address, QUrl::StrictMode);
    if (!url.isValid() || !WebUtils::isOpenAddress(address) || url.host().startsWith(QLatin1Char('-')))
        return QString();
    return QString::fromLatin1(url.toEncoded());
}

QByteArray UpdateUrl::forLog(const QString &text)
{
    return KovGui::logText(WebUtils::withMaskedUrls(text));
}
