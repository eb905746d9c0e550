#pragma once

#include "gui/statistics/CCepStatisticsCollector.h"

#include <QMap>

/// Counts what this run of the console was used for. Nothing of it names a person, a machine or a file.
class ConsoleStatisticsCollector : public CCepStatisticsCollector
{
    Q_OBJECT

public:
    explicit ConsoleStatisticsCollector(QObject *parent = nullptr);

    void startCollecting() override;
    /// What would be collected now: a JSON document for people to read as well.
    QString data() const;

    void countPage(const QString &name);

Q_SIGNALS:
    void dataChanged();

private:
    QMap<QString, int> m_pages;
    int m_messages = 0;
};
