#pragma once

#include "kov_sdk/KovSdk.h"
#include "kov_sdk_communication/SdkCommunicationGlobal.h"

#include <QMetaType>

/**
 * Owns one reference of a service handle: copies add a reference, the destructor gives it back. Null is fine.
 *
 * Functions that yield a handle write it through out(), which gives back what was held before:
 *
 *     t_SdkHandleWrap param;
 *     KovEvent_GetParam(event, 0, param.out());
 */
class KOVSDKCOMMUNICATION_EXPORT t_SdkHandleWrap
{
public:
    t_SdkHandleWrap() = default;
    /// Takes over the caller's reference.
    explicit t_SdkHandleWrap(KOV_HANDLE handle)
        : m_handle(handle)
    { }
    /// Adds a reference of its own; the caller keeps his.
    static t_SdkHandleWrap share(KOV_HANDLE handle);
    t_SdkHandleWrap(const t_SdkHandleWrap &other);
    t_SdkHandleWrap(t_SdkHandleWrap &&other) noexcept;
    t_SdkHandleWrap &operator=(t_SdkHandleWrap other) noexcept;
    ~t_SdkHandleWrap();

    KOV_HANDLE handle() const { return m_handle; }
    operator KOV_HANDLE() const { return m_handle; }
    bool isNull() const { return m_handle == nullptr; }
    void reset();
    /// Where a function writes a handle that it yields.
    KOV_HANDLE *out();

private:
    KOV_HANDLE m_handle = nullptr;
};

Q_DECLARE_METATYPE(t_SdkHandleWrap)
