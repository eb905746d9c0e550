#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

/// What an application supplies to gather its usage statistics. Lives on the provider's thread.
class KOVGUI_EXPORT CCepStatisticsCollector : public QObject
{
    Q_OBJECT

public:
    explicit CCepStatisticsCollector(QObject *parent = nullptr);
    ~CCepStatisticsCollector() override;

    /// Begins to collect and returns at once; collected() follows, at the earliest before this returns. May
    /// be called again while it collects: then one collected() is enough. One that fails emits nothing.
    virtual void startCollecting() = 0;

Q_SIGNALS:
    /// @param data  of the application's own format; the library never looks into it
    void collected(const QString &data);
};
