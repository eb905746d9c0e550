#pragma once

#include "gui/statistics/CCepStatisticsCollector.h"
#include "gui/statistics/CCepStatisticsProvider.h"
#include "gui/statistics/CCepStatisticsSender.h"

#include <QSettings>

/// Usage statistics of an application that has little to tell.
class MinimalCollector : public CCepStatisticsCollector
{
public:
    using CCepStatisticsCollector::CCepStatisticsCollector;
    void startCollecting() override { Q_EMIT collected(QStringLiteral("format=1")); }
};

class MinimalSender : public CCepStatisticsSender
{
public:
    using CCepStatisticsSender::CCepStatisticsSender;
    bool isSendStatisticsEnabled() const override
    {
        return QSettings().value(QStringLiteral("Statistics")).toBool(); // no, until the user was asked
    }
    void setSendStatisticsEnabled(bool enabled) override
    {
        if (enabled == isSendStatisticsEnabled())
            return;
        QSettings().setValue(QStringLiteral("Statistics"), enabled);
        Q_EMIT sendStatisticsChanged(enabled);
    }
    void sendStatistics(const QString &data) override
    {
        if (isSendStatisticsEnabled()) // the consent may have been withdrawn meanwhile
            qInfo("statistics %s", qUtf8Printable(data));
    }
};
