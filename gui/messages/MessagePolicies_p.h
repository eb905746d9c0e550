#pragma once

#include "gui/ImplementationRegistry_p.h"

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
