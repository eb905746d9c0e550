#pragma once

#include "gui/frame/Application.h"
#include "gui/log/Log.h"

#include <QMetaObject>
#include <QObject>

namespace KovGui {

/// Creates the object registered under `key`. Null, with a logged error, when nothing is registered, the
/// class has no invokable constructor for the arguments (without one: no default constructor), or it is not a
/// `base`.
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

/**
 * The one object of a policy class: created from the registry by the first call that finds it there, kept for
 * the life of the process. Called by the instance() function of each policy and by nothing else, so that
 * there is one of each.
 */
template <typename Policy>
Policy *policyInstance()
{
    static Policy *instance = nullptr;
    if (!instance)
        instance = KovGui::createPolicy<Policy>();
    return instance;
}

/// The registered policy, or the library's own when the registry has none: a message is never lost over a
/// policy.
template <typename Policy>
Policy &policyOrDefault()
{
    if (Policy *registered = Policy::instance())
        return *registered;
    static Policy *const fallback = new Policy;
    return *fallback;
}
