#include "gui/statistics/CCepStatisticsProvider.h"

#include "gui/log/Log.h"
#include "gui/statistics/CCepStatisticsCollector.h"
#include "gui/statistics/CCepStatisticsSender.h"

#include <QPointer>
#include <QTimer>

namespace {

constexpr char tag[] = "[STATISTICS]";
constexpr int intervalMilliseconds = 8 * 60 * 60 * 1000;

} // namespace

class CCepStatisticsProvider::Private
{
public:
    Private(CCepStatisticsSender *theSender, CCepStatisticsCollector *theCollector,
            CCepStatisticsProvider *provider)
        : sender(theSender)
        , collector(theCollector)
        , timer(new QTimer(provider))
        , firstRun(new QTimer(provider))
    {
        timer->setObjectName(QStringLiteral("m_timer"));
        timer->setInterval(intervalMilliseconds);
        // A timer of its own, which can be stopped: consent that is withdrawn before the event loop runs
        // stops the first run, too.
        firstRun->setObjectName(QStringLiteral("m_timerFirstRun"));
        firstRun->setSingleShot(true);
    }

    const QPointer<CCepStatisticsSender> sender;
    const QPointer<CCepStatisticsCollector> collector;
    QTimer *const timer;
    QTimer *const firstRun;
};

CCepStatisticsProvider::CCepStatisticsProvider(CCepStatisticsSender *sender,
                                               CCepStatisticsCollector *collector, QObject *parent)
    : QObject(parent)
    , d(new Private(sender, collector, this))
{
    connect(d->timer, &QTimer::timeout, this, &CCepStatisticsProvider::onTimeout);
    connect(d->firstRun, &QTimer::timeout, this, &CCepStatisticsProvider::onTimeout);
    if (collector)
        connect(collector, &CCepStatisticsCollector::collected, this, &CCepStatisticsProvider::onCollected);
    if (!sender) {
        KOV_LOG_TAG(tag, 0, "(!)Error: there is no sender of statistics, none will be collected");
        return;
    }
    connect(sender, &CCepStatisticsSender::sendStatisticsChanged, this,
            &CCepStatisticsProvider::processSendStatistics);
    processSendStatistics(sender->isSendStatisticsEnabled());
}

CCepStatisticsProvider::~CCepStatisticsProvider() = default;

void CCepStatisticsProvider::setSendStatistics(bool enabled)
{
    if (d->sender)
        d->sender->setSendStatisticsEnabled(enabled);
    else
        KOV_LOG_TAG(tag, 0, "(!)Error: the sender is gone, the choice about statistics is not kept");
}

void CCepStatisticsProvider::onTimeout()
{
    // What nobody sends is not collected either.
    if (!d->sender || !d->collector) {
        KOV_LOG_TAG(tag, 0, "(!)Error: the %s is gone, no statistics are collected",
                    d->sender ? "collector" : "sender");
        return;
    }
    KOV_LOG_TAG(tag, 0, "There is a time to send client statistics, start collecting");
    d->collector->startCollecting();
}

void CCepStatisticsProvider::onCollected(const QString &data)
{
    if (!d->sender) {
        KOV_LOG_TAG(tag, 0, "(!)Error: the sender is gone, the statistics are not sent");
        return;
    }
    KOV_LOG_TAG(tag, 0, "Send client statistics");
    d->sender->sendStatistics(data);
}

void CCepStatisticsProvider::processSendStatistics(bool enabled)
{
    if (enabled == d->timer->isActive())
        return;
    if (enabled) {
        d->timer->start();
        d->firstRun->start(0);
    } else {
        d->timer->stop();
        d->firstRun->stop();
    }
}
