#include "gui/problem_report/send/ReportService.h"

#include <QHostAddress>
#include <QRegularExpression>
#include <QSettings>

namespace {

constexpr int mostLines = 16;
constexpr int longestLine = 200;

QUrl &hostAddress()
{
    static QUrl address;
    return address;
}

bool isThisComputer(const QString &host)
{
    return host == QLatin1String("localhost") || QHostAddress(host).isLoopback();
}

} // namespace

QUrl ReportService::address()
{
    const QString chosen = QSettings().value(QStringLiteral("Problem Report/ServiceAddress")).toString();
    return chosen.isEmpty() ? hostAddress() : QUrl(chosen, QUrl::StrictMode);
}

void ReportService::setAddress(const QUrl &address)
{
    hostAddress() = address;
}

bool ReportService::isAcceptable(const QUrl &address)
{
    if (!address.isValid() || address.host().isEmpty() || !address.userInfo().isEmpty())
        return false;
    return address.scheme() == QLatin1String("https")
           || (address.scheme() == QLatin1String("http") && isThisComputer(address.host()));
}

bool ReportService::isAcceptableRedirect(const QUrl &from, const QUrl &to)
{
    const int port = from.scheme() == QLatin1String("https") ? 443 : 80;
    return isAcceptable(to) && from.scheme() == to.scheme() && from.host() == to.host()
           && from.port(port) == to.port(port);
}

QStringList ReportService::answerLines(const QByteArray &body)
{
    QStringList lines;
    const QList<QByteArray> parts = body.left(mostLines * longestLine).split('\n');
    for (const QByteArray &part : parts.mid(0, mostLines)) {
        QString line = QString::fromUtf8(part.constData(), part.size());
        line.remove(QRegularExpression(QStringLiteral("[[:cntrl:]]")));
        lines.append(line.trimmed().left(longestLine));
    }
    return lines;
}

bool ReportService::isAccepted(const QStringList &lines)
{
    return lines.value(0) == QLatin1String("status=OK");
}

QString ReportService::identifierOf(const QStringList &lines)
{
    static const QRegularExpression pattern(QStringLiteral("^id=([A-Za-z0-9._-]{1,64})$"));
    for (const QString &line : lines.mid(1)) {
        const QRegularExpressionMatch match = pattern.match(line);
        if (match.hasMatch())
            return match.captured(1);
    }
    return QString();
}
