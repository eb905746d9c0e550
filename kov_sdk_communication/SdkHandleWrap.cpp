#include "kov_sdk_communication/SdkHandleWrap.h"

#include <utility>

t_SdkHandleWrap t_SdkHandleWrap::share(KOV_HANDLE handle)
{
    if (!handle || KOV_FAILED(KovHandle_AddRef(handle)))
        return t_SdkHandleWrap();
    return t_SdkHandleWrap(handle);
}

t_SdkHandleWrap::t_SdkHandleWrap(const t_SdkHandleWrap &other)
    : t_SdkHandleWrap(share(other.m_handle))
{ }

t_SdkHandleWrap::t_SdkHandleWrap(t_SdkHandleWrap &&other) noexcept
    : m_handle(std::exchange(other.m_handle, nullptr))
{ }

t_SdkHandleWrap &t_SdkHandleWrap::operator=(t_SdkHandleWrap other) noexcept
{
    std::swap(m_handle, other.m_handle);
    return *this;
}

t_SdkHandleWrap::~t_SdkHandleWrap()
{
    reset();
}

void t_SdkHandleWrap::reset()
{
    if (const KOV_HANDLE handle = std::exchange(m_handle, nullptr))
        KovHandle_Free(handle);
}

KOV_HANDLE *t_SdkHandleWrap::out()
{
    reset();
    return &m_handle;
}
