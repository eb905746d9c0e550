#include "kov_sdk/Catalogue_p.h"
#include "kov_sdk/Event_p.h"
#include "kov_sdk/ServiceCall_p.h"

#include <algorithm>

using namespace KovService;

/// Runs `body(object)` with the object of the handle, or fails with KOV_ERR_INVALID_HANDLE.
template <typename Kind, typename Body>
static KOV_RESULT with(const char *function, KOV_HANDLE handle, Body body)
{
    return call(function, [&] {
        const std::shared_ptr<Kind> object = find<Kind>(function, handle);
        return object ? body(object) : KOV_ERR_INVALID_HANDLE;
    });
}

extern "C" KOV_RESULT KovEvent_GetErrCode(KOV_HANDLE event, KOV_RESULT *code)
{
    return with<Event>("KovEvent_GetErrCode", event, [&](const auto &object) {
        if (!code)
            return KOV_ERR_INVALID_ARG;
        *code = object->code;
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovEvent_GetErrString(KOV_HANDLE event, int brief, int formatted, char *buffer,
                                            uint32_t *size)
{
    return with<Event>("KovEvent_GetErrString", event, [&](const auto &object) {
        QStringList arguments;
        for (const std::string &argument : object->textArguments())
            arguments.append(QString::fromStdString(argument));
        const auto text
            = Catalogue::instance().description(object->code, brief != 0, formatted != 0, arguments);
        return text ? copyText(text->toStdString(), buffer, size) : KOV_ERR_NO_DATA;
    });
}

extern "C" KOV_RESULT KovEvent_GetIssuerId(KOV_HANDLE event, char *buffer, uint32_t *size)
{
    return with<Event>("KovEvent_GetIssuerId", event,
                       [&](const auto &object) { return copyText(object->issuerId, buffer, size); });
}

extern "C" KOV_RESULT KovEvent_GetParamsCount(KOV_HANDLE event, uint32_t *count)
{
    return with<Event>("KovEvent_GetParamsCount", event, [&](const auto &object) {
        if (!count)
            return KOV_ERR_INVALID_ARG;
        *count = static_cast<uint32_t>(object->parameters().size());
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovEvent_GetParam(KOV_HANDLE event, uint32_t index, KOV_HANDLE *param)
{
    return with<Event>("KovEvent_GetParam", event, [&](const auto &object) {
        if (!param)
            return KOV_ERR_INVALID_ARG;
        const EventParameters parameters = object->parameters();
        if (index >= parameters.size())
            return KOV_ERR_NO_DATA;
        *param = HandleTable::instance().yield(parameters[index]);
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovEvent_GetParamByName(KOV_HANDLE event, const char *name, KOV_HANDLE *param)
{
    return with<Event>("KovEvent_GetParamByName", event, [&](const auto &object) {
        if (!name || !param)
            return KOV_ERR_INVALID_ARG;
        const EventParameters parameters = object->parameters();
        const auto found = std::find_if(parameters.begin(), parameters.end(),
                                        [&](const auto &parameter) { return parameter->name == name; });
        if (found == parameters.end())
            return KOV_ERR_NO_DATA;
        *param = HandleTable::instance().yield(*found);
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovEvtPrm_GetName(KOV_HANDLE param, char *buffer, uint32_t *size)
{
    return with<EventParameter>("KovEvtPrm_GetName", param,
                                [&](const auto &object) { return copyText(object->name, buffer, size); });
}

extern "C" KOV_RESULT KovEvtPrm_GetType(KOV_HANDLE param, _KOV_PARAMETER_TYPE *type)
{
    return with<EventParameter>("KovEvtPrm_GetType", param, [&](const auto &object) {
        if (!type)
            return KOV_ERR_INVALID_ARG;
        *type = object->valueType;
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovEvtPrm_ToString(KOV_HANDLE param, char *buffer, uint32_t *size)
{
    return with<EventParameter>("KovEvtPrm_ToString", param, [&](const auto &object) {
        return object->valueType == KPT_HANDLE ? KOV_ERR_NO_DATA : copyText(object->text, buffer, size);
    });
}

extern "C" KOV_RESULT KovEvtPrm_ToInt32(KOV_HANDLE param, int32_t *value)
{
    return with<EventParameter>("KovEvtPrm_ToInt32", param, [&](const auto &object) {
        if (!value)
            return KOV_ERR_INVALID_ARG;
        if (object->valueType != KPT_INT32)
            return KOV_ERR_NO_DATA;
        *value = object->number;
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovEvtPrm_ToHandle(KOV_HANDLE param, KOV_HANDLE *handle)
{
    return with<EventParameter>("KovEvtPrm_ToHandle", param, [&](const auto &object) {
        if (!handle)
            return KOV_ERR_INVALID_ARG;
        if (object->valueType != KPT_HANDLE)
            return KOV_ERR_NO_DATA;
        *handle = HandleTable::instance().yield(object->event);
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovService_CreateEvent(KOV_RESULT code, const char *issuerId, KOV_HANDLE *event)
{
    return call("KovService_CreateEvent", [&] {
        if (!event)
            return KOV_ERR_INVALID_ARG;
        *event = HandleTable::instance().yield(
            std::make_shared<Event>(code, issuerId ? validUtf8(issuerId) : std::string()));
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovService_AddStringParam(KOV_HANDLE event, const char *name, const char *value)
{
    return with<Event>("KovService_AddStringParam", event, [&](const auto &object) {
        if (!name || !value)
            return KOV_ERR_INVALID_ARG;
        object->add(std::make_shared<EventParameter>(validUtf8(name), validUtf8(value)));
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovService_AddInt32Param(KOV_HANDLE event, const char *name, int32_t value)
{
    return with<Event>("KovService_AddInt32Param", event, [&](const auto &object) {
        if (!name)
            return KOV_ERR_INVALID_ARG;
        object->add(std::make_shared<EventParameter>(validUtf8(name), value));
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovService_AddHandleParam(KOV_HANDLE event, const char *name, KOV_HANDLE value)
{
    return with<Event>("KovService_AddHandleParam", event, [&](const auto &object) {
        if (!name)
            return KOV_ERR_INVALID_ARG;
        const std::shared_ptr<Event> nested = find<Event>("KovService_AddHandleParam", value);
        if (!nested)
            return KOV_ERR_INVALID_HANDLE;
        if (object->addNested(std::make_shared<EventParameter>(validUtf8(name), nested)))
            return KOV_SUCCESS;
        logError("KovService_AddHandleParam", "the event would come to hold itself");
        return KOV_ERR_INVALID_ARG;
    });
}
