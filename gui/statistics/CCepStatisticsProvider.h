#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

#include <memory>

class CCepStatisticsCollector;
class CCepStatisticsSender;

/**
 * Decides when usage statistics are collected, and hands what was collected to the sender: as soon as the
 * event loop runs, and then every eight hours, as long as the sender says that the user consents. Withdrawing
 * the consent takes back a first run that has not begun yet; giving it again starts anew.
 *
 * The eight hours are measured, not read from the clock: a clock that is changed triggers nothing, and the
 * time that the machine sleeps need not count.
 *
 * Sender and collector stay the caller's and may go at any time: what would need them is then logged, and
 * neither collected nor sent.
 */
class KOVGUI_EXPORT CCepStatisticsProvider : public QObject
{
    Q_OBJECT

public:
    /// Asks the sender for the consent, here and nowhere else; later changes are told by its signal.
    CCepStatisticsProvider(CCepStatisticsSender *sender, CCepStatisticsCollector *collector,
                           QObject *parent = nullptr);
    ~CCepStatisticsProvider() override;

    /// Hands the user's choice to the sender, which keeps it.
    void setSendStatistics(bool enabled);

private Q_SLOTS:
    void onTimeout();
    void onCollected(const QString &data);
    void processSendStatistics(bool enabled);

private:
    class Private;
    const std::unique_ptr<Private> d;
};
