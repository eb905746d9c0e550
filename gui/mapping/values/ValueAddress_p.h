#pragma once

#include "gui/mapping/values/Mappings.h"

#include <QVector>

/// Where a value is.
struct ValueAddress
{
    QString storage;
    QString path;

    bool operator==(const ValueAddress &other) const
    {
        return path == other.path && storage == other.storage;
    }
    bool operator<(const ValueAddress &other) const
    {
        return storage != other.storage ? storage < other.storage : path < other.path;
    }
};
Q_DECLARE_TYPEINFO(ValueAddress, Q_MOVABLE_TYPE);

/// Every path of the storages that the filter lets through, in order: what a loop goes by while the tree
/// changes under it.
QVector<ValueAddress> sortedAddresses(const Mappings::Values &values, const QString &filter = QString());
