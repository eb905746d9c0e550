#include "examples/console/statistics/ConsoleStatisticsSender.h"

#include "gui/tasks/http/CTaskSendHttpRequest.h"

#include <QSettings>

namespace {

QString consentKey()
{
    return QStringLiteral("Statistics/Consent");
}

} // namespace

ConsoleStatisticsSender::ConsoleStatisticsSender(const QUrl &url, QObject *parent)
    : CCepStatisticsSender(parent)
    , m_url(url)
{ }

bool ConsoleStatisticsSender::isAsked()
{
    return QSettings().contains(consentKey());
}

bool ConsoleStatisticsSender::isSendStatisticsEnabled() const
{
    return QSettings().value(consentKey()).toBool();
}

void ConsoleStatisticsSender::setSendStatisticsEnabled(bool enabled)
{
    const bool before = isSendStatisticsEnabled();
    QSettings().setValue(consentKey(), enabled);
    if (!enabled) {
        const auto requests = findChildren<CTaskSendHttpRequest *>();
        for (CTaskSendHttpRequest *request : requests)
            request->terminate(KOV_ERR_CANCELLED);
    }
    if (enabled != before)
        Q_EMIT sendStatisticsChanged(enabled);
}

void ConsoleStatisticsSender::sendStatistics(const QString &data)
{
    const bool enabled = isSendStatisticsEnabled();
    const int index = m_sendings.size();
    m_sendings.append(
        {QDateTime::currentDateTime(), data, enabled ? KOV_ERR_IN_PROGRESS : KOV_ERR_CANCELLED});
    Q_EMIT sendingsChanged();
    if (!enabled)
        return;
    QNetworkRequest head(m_url);
    head.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    auto *request
        = new CTaskSendHttpRequest(head, QNetworkAccessManager::PostOperation, nullptr, data.toUtf8());
    request->setParent(this);
    connect(request, &CAbstractTask::taskFinished, this, [this, request, index](KOV_RESULT result) {
        request->deleteLater();
        m_sendings[index].result = result;
        Q_EMIT sendingsChanged();
    });
    request->execute();
}
