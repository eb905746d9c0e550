#include "gui/content/CContentModel.h"

CContentModel::CContentModel(QObject *parent)
    : QObject(parent)
{ }

CContentModel::~CContentModel() = default;

bool CContentModel::isBusy() const
{
    return m_busy;
}

void CContentModel::setBusy(bool busy)
{
    if (m_busy == busy)
        return;
    m_busy = busy;
    Q_EMIT busyChanged(busy);
}
