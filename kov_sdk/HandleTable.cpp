#include "kov_sdk/HandleTable_p.h"
#include "kov_sdk/ServiceCall_p.h"

#include <cstdio>
#include <limits>
#include <new>

namespace KovService {

HandleTable &HandleTable::instance()
{
    static HandleTable *const table = new HandleTable;
    return *table;
}

KOV_HANDLE HandleTable::yield(const std::shared_ptr<Object> &object)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (object->m_handle) {
        ++m_entries.at(object->m_handle).references;
        return object->m_handle;
    }
    if (m_lastValue > std::numeric_limits<std::uintptr_t>::max() - 2)
        throw std::bad_alloc();
    // Odd values: the address of a program's own object, taken for a handle by mistake, is never one.
    const auto handle = reinterpret_cast<KOV_HANDLE>(m_lastValue ? m_lastValue + 2 : 1);
    m_entries.emplace(handle, Entry{object, 1});
    m_lastValue = reinterpret_cast<std::uintptr_t>(handle);
    object->m_handle = handle;
    return handle;
}

bool HandleTable::addReference(KOV_HANDLE handle)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto entry = m_entries.find(handle);
    if (entry == m_entries.end())
        return false;
    ++entry->second.references;
    return true;
}

bool HandleTable::release(KOV_HANDLE handle)
{
    std::shared_ptr<Object> last; // outlives the lock: a destructor may run long
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto entry = m_entries.find(handle);
    if (entry == m_entries.end())
        return false;
    if (--entry->second.references > 0)
        return true;
    last = std::move(entry->second.object);
    last->m_handle = nullptr;
    m_entries.erase(entry);
    return true;
}

std::shared_ptr<Object> HandleTable::find(KOV_HANDLE handle) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto entry = m_entries.find(handle);
    return entry == m_entries.end() ? nullptr : entry->second.object;
}

static const char *nameOf(_KOV_HANDLE_TYPE type)
{
    switch (type) {
    case KHT_EVENT:
        return "an event";
    case KHT_EVENT_PARAMETER:
        return "an event parameter";
    case KHT_JOB:
        return "a job";
    case KHT_REPORT:
        return "a report";
    case KHT_INVALID:
        break;
    }
    return "nothing";
}

std::shared_ptr<Object> objectOf(const char *function, KOV_HANDLE handle, _KOV_HANDLE_TYPE type)
{
    std::shared_ptr<Object> object = HandleTable::instance().find(handle);
    if (object && object->type() == type)
        return object;
    char text[128];
    if (!handle)
        std::snprintf(text, sizeof text, "the handle is null, expected %s", nameOf(type));
    else if (!object)
        std::snprintf(text, sizeof text, "the handle %p was freed or never given out",
                      static_cast<void *>(handle));
    else
        std::snprintf(text, sizeof text, "the handle %p is %s, expected %s", static_cast<void *>(handle),
                      nameOf(object->type()), nameOf(type));
    logError(function, text);
    return nullptr;
}

} // namespace KovService

using namespace KovService;

extern "C" KOV_RESULT KovHandle_AddRef(KOV_HANDLE handle)
{
    return call("KovHandle_AddRef", [&] {
        if (HandleTable::instance().addReference(handle))
            return KOV_SUCCESS;
        logError("KovHandle_AddRef",
                 handle ? "the handle was freed or never given out" : "the handle is null");
        return KOV_ERR_INVALID_HANDLE;
    });
}

extern "C" KOV_RESULT KovHandle_Free(KOV_HANDLE handle)
{
    return call("KovHandle_Free", [&] {
        if (HandleTable::instance().release(handle))
            return KOV_SUCCESS;
        logError("KovHandle_Free", handle ? "the handle was freed or never given out" : "the handle is null");
        return KOV_ERR_INVALID_HANDLE;
    });
}

extern "C" _KOV_HANDLE_TYPE KovHandle_GetType(KOV_HANDLE handle)
{
    const std::shared_ptr<Object> object = HandleTable::instance().find(handle);
    return object ? object->type() : KHT_INVALID;
}
