#include "gui/content/CContentWatcher.h"

CContentWatcher::CContentWatcher(QObject *parent)
    : QObject(parent)
{ }

CContentWatcher::~CContentWatcher() = default;
