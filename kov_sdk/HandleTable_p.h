#pragma once

#include "kov_sdk/KovSdk.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace KovService {

/// What a handle stands for.
class Object
{
public:
    explicit Object(_KOV_HANDLE_TYPE type)
        : m_type(type)
    { }
    virtual ~Object() = default;
    Object(const Object &) = delete;
    Object &operator=(const Object &) = delete;

    _KOV_HANDLE_TYPE type() const { return m_type; }

private:
    friend class HandleTable;

    const _KOV_HANDLE_TYPE m_type;
    KOV_HANDLE m_handle = nullptr; ///< the living handle, null when none; guarded by the table
};

/**
 * Gives handles out and counts their references.
 *
 * An object has at most one living handle. The references that a program holds are counted here; those that
 * the service holds itself (an event its nested event, a job its error) are shared pointers, so that a
 * program which frees too often ends its own handle and nothing else.
 */
class HandleTable
{
public:
    /// Lives until the process ends: handles may be freed by the last static destructor.
    static HandleTable &instance();

    /// A handle of `object` with one reference for the caller.
    /// @throws std::bad_alloc  memory or handle values ran out
    KOV_HANDLE yield(const std::shared_ptr<Object> &object);
    /// False when the handle does not live.
    bool addReference(KOV_HANDLE handle);
    bool release(KOV_HANDLE handle);
    /// Null when the handle does not live.
    std::shared_ptr<Object> find(KOV_HANDLE handle) const;

private:
    struct Entry
    {
        std::shared_ptr<Object> object;
        std::size_t references = 0;
    };

    mutable std::mutex m_mutex;
    std::unordered_map<KOV_HANDLE, Entry> m_entries;
    std::uintptr_t m_lastValue = 0;
};

/// The living object of the given kind; otherwise logs the misuse under `function` and gives null.
std::shared_ptr<Object> objectOf(const char *function, KOV_HANDLE handle, _KOV_HANDLE_TYPE type);

template <typename Kind>
std::shared_ptr<Kind> find(const char *function, KOV_HANDLE handle)
{
    return std::static_pointer_cast<Kind>(objectOf(function, handle, Kind::handleType));
}

} // namespace KovService
