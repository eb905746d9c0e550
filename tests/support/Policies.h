#pragma once

#include "gui/frame/Application.h"

#include <QMetaObject>
#include <QScopeGuard>

/// Puts a class under the name of the policy or task that it stands for; null takes the entry out. For the
/// whole program: the library keeps most policies from their first use on.
template <typename Policy>
void registerPolicy(const QMetaObject *implementation)
{
    auto &table = KovGui::staticMetaObjectHash();
    const QString key = QString::fromLatin1(Policy::staticMetaObject.className());
    if (implementation)
        table[key] = implementation;
    else
        table.remove(key);
}

template <typename Policy, typename Implementation = Policy>
void registerPolicy()
{
    registerPolicy<Policy>(&Implementation::staticMetaObject);
}

/// The same for a test that keeps what this returns: at its end the entry is what it was before.
template <typename Policy>
[[nodiscard]] auto registerPolicyForNow(const QMetaObject *implementation)
{
    const QString key = QString::fromLatin1(Policy::staticMetaObject.className());
    auto guard = qScopeGuard(
        [before = KovGui::staticMetaObjectHash().value(key)] { registerPolicy<Policy>(before); });
    registerPolicy<Policy>(implementation);
    return guard;
}

template <typename Policy, typename Implementation>
[[nodiscard]] auto registerPolicyForNow()
{
    return registerPolicyForNow<Policy>(&Implementation::staticMetaObject);
}
