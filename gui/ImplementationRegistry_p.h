#pragma once

#include "gui/KovGui.h"
#include "gui/log/Log.h"

#include <QMetaObject>
#include <QObject>

namespace KovGui {

/// Creates the object registered under `key` with its constructor without arguments. Null, with a logged error, when
/// nothing is registered, the class cannot be created, or it is not a `base`.
QObject *createRegistered(const char *key, const QMetaObject &base);

/// A policy of the implementation registry. The base class's name is its key.
template <typename Policy>
Policy *createPolicy()
{
    return static_cast<Policy *>(
        createRegistered(Policy::staticMetaObject.className(), Policy::staticMetaObject));
}

} // namespace KovGui
