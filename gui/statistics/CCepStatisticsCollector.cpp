#include "gui/statistics/CCepStatisticsCollector.h"

CCepStatisticsCollector::CCepStatisticsCollector(QObject *parent)
    : QObject(parent)
{ }

CCepStatisticsCollector::~CCepStatisticsCollector() = default;
