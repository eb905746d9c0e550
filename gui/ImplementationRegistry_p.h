#pragma once

#include "gui/KovGui.h"
#include "gui/log/Log.h"

#include <QMetaObject>
#include <QObject>

namespace KovGui {

/// Creates the object registered under `key`. Null, with a logged error, when nothing is registered, the class has no
/// invokable constructor for the arguments (without one: no default constructor), or it is not a `base`.
KOVGUI_EXPORT QObject *createRegistered(const char *key, const QMetaObject &base,
                                        QGenericArgument first = QGenericArgument(),
                                        QGenericArgument second = QGenericArgument());

/// A policy of the implementation registry. The base class's name is its key.
template <typename Policy>
Policy *createPolicy()
{
    return static_cast<Policy *>(
        createRegistered(Policy::staticMetaObject.className(), Policy::staticMetaObject));
}

} // namespace KovGui
