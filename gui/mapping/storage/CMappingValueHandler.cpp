#include "gui/mapping/storage/CMappingValueHandler.h"

CMappingValueHandler::CMappingValueHandler(QObject *parent)
    : QObject(parent)
{ }

bool CMappingValueHandler::handleValue(const QString &, const QString &, QVariant)
{
    return false;
}

QString CMappingValueHandler::currentStorage() const
{
    return QString();
}

QString CMappingValueHandler::currentPath() const
{
    return QString();
}

QVariant CMappingValueHandler::currentValue() const
{
    return QVariant();
}

void CMappingValueHandler::cleanCurrentData(bool) { }

void CMappingValueHandler::handleValueFinished(bool accepted)
{
    const QString storage = currentStorage();
    const QString path = currentPath();
    const QVariant value = currentValue();
    cleanCurrentData(accepted);
    Q_EMIT handleValueFinished(accepted, storage, path, value);
}

void CMappingValueHandler::onRejectedMessageClosed()
{
    handleValueFinished(false);
}

void CMappingValueHandler::onSuccessMessageClosed()
{
    handleValueFinished(true);
}
