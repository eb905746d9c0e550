#pragma once

#include "gui/statistics/CCepStatisticsSender.h"
#include "kov_sdk/KovTypes.h"

#include <QDateTime>
#include <QList>
#include <QUrl>

/// Sends statistics over HTTP, through the proxy that is right for the address. The consent is in the
/// settings under "Statistics/Consent"; as long as the user was not asked, there is none.
class ConsoleStatisticsSender : public CCepStatisticsSender
{
    Q_OBJECT

public:
    struct Sending
    {
        QDateTime time;
        QString data;
        KOV_RESULT result; ///< KOV_ERR_IN_PROGRESS until it is known; KOV_ERR_CANCELLED: kept back
    };

    explicit ConsoleStatisticsSender(const QUrl &url, QObject *parent = nullptr);

    /// Whether the user has made a choice.
    static bool isAsked();
    bool isSendStatisticsEnabled() const override;
    /// Without consent what is under way is broken off.
    void setSendStatisticsEnabled(bool enabled) override;
    /// Without consent the data is kept back.
    void sendStatistics(const QString &data) override;

    /// Of this run, oldest first.
    const QList<Sending> &sendings() const { return m_sendings; }

Q_SIGNALS:
    void sendingsChanged();

private:
    const QUrl m_url;
    QList<Sending> m_sendings;
};
