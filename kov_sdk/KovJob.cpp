#include "kov_sdk/Job_p.h"
#include "kov_sdk/ServiceCall_p.h"

using namespace KovService;

template <typename Body>
static KOV_RESULT withJob(const char *function, KOV_HANDLE handle, Body body)
{
    return call(function, [&] {
        const std::shared_ptr<Job> job = find<Job>(function, handle);
        return job ? body(*job) : KOV_ERR_INVALID_HANDLE;
    });
}

extern "C" KOV_RESULT KovJob_GetRetCode(KOV_HANDLE job, KOV_RESULT *code)
{
    return withJob("KovJob_GetRetCode", job, [&](Job &object) {
        if (!code)
            return KOV_ERR_INVALID_ARG;
        if (!object.hasEnded())
            return KOV_ERR_IN_PROGRESS;
        *code = object.outcome().code;
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovJob_GetError(KOV_HANDLE job, KOV_HANDLE *event)
{
    return withJob("KovJob_GetError", job, [&](Job &object) {
        if (!event)
            return KOV_ERR_INVALID_ARG;
        const std::shared_ptr<Event> error = object.outcome().error;
        if (!error)
            return KOV_ERR_NO_DATA;
        *event = HandleTable::instance().yield(error);
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovJob_Cancel(KOV_HANDLE job)
{
    return withJob("KovJob_Cancel", job, [&](Job &object) {
        object.end({KOV_ERR_CANCELLED, nullptr, std::string()});
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovJob_GetData(KOV_HANDLE job, char *buffer, uint32_t *size)
{
    return withJob("KovJob_GetData", job,
                   [&](Job &object) { return copyText(object.outcome().data, buffer, size); });
}

extern "C" KOV_RESULT KovJob_SetCompletionFunction(KOV_HANDLE job, KovJob_CompletionFunction function,
                                                   void *context)
{
    return withJob("KovJob_SetCompletionFunction", job, [&](Job &object) {
        object.setFunction(function, context);
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovService_CreateJob(KOV_HANDLE *job)
{
    return call("KovService_CreateJob", [&] {
        if (!job)
            return KOV_ERR_INVALID_ARG;
        *job = HandleTable::instance().yield(std::make_shared<Job>());
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovService_CompleteJob(KOV_HANDLE job, KOV_RESULT code, KOV_HANDLE errorEvent,
                                             const char *data)
{
    return withJob("KovService_CompleteJob", job, [&](Job &object) {
        std::shared_ptr<Event> error;
        if (errorEvent) {
            error = find<Event>("KovService_CompleteJob", errorEvent);
            if (!error)
                return KOV_ERR_INVALID_HANDLE;
        }
        const bool ended = object.end({code, error, data ? validUtf8(data) : std::string()});
        return ended ? KOV_SUCCESS : KOV_ERR_INVALID_ARG;
    });
}
