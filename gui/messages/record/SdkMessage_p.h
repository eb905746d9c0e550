#pragma once

#include "gui/messages/record/Messaging.h"

/// What a handle of the service, an event or a finished job, says about its message.
struct SdkMessage
{
    /// A handle without a result code is logged; the result is not valid then.
    static SdkMessage read(const t_SdkHandleWrap &handle);

    bool isValid() const { return valid; }

    bool valid = false;
    KOV_RESULT code = KOV_SUCCESS;
    QString issuerId;
    QString shortMsg;
    QString longMsg;
    Messaging::ButtonsMap buttons;
    /// The event inside the event; null when there is none.
    t_SdkHandleWrap nestedEvent;
};
