#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

/// What an application supplies to keep its user's consent and to send what was collected. Lives on the
/// provider's thread.
class KOVGUI_EXPORT CCepStatisticsSender : public QObject
{
    Q_OBJECT

public:
    explicit CCepStatisticsSender(QObject *parent = nullptr);
    ~CCepStatisticsSender() override;

    /// Whether the user consents. False until somebody has asked.
    virtual bool isSendStatisticsEnabled() const = 0;
    /// Keeps the consent across runs, and emits sendStatisticsChanged() when it is another than before.
    virtual void setSendStatisticsEnabled(bool enabled) = 0;
    /// Sends what was collected, and returns at once. Data of a collection that was under way when the
    /// consent was withdrawn still arrives here: whether it may leave is decided here, at this moment.
    virtual void sendStatistics(const QString &data) = 0;

Q_SIGNALS:
    void sendStatisticsChanged(bool enabled);
};
