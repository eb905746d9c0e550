#include "gui/statistics/CCepStatisticsSender.h"

CCepStatisticsSender::CCepStatisticsSender(QObject *parent)
    : QObject(parent)
{ }

CCepStatisticsSender::~CCepStatisticsSender() = default;
