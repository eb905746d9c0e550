/* A C99 program that uses the service client interface from end to end. Exits 0 when everything is as it
 * should be. */
#include "kov_sdk/KovSdk.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define REQUIRE(condition)                                                                                   \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            fprintf(stderr, "%s:%d: %s does not hold\n", __FILE__, __LINE__, #condition);                    \
            exit(1);                                                                                         \
        }                                                                                                    \
    } while (0)

struct Completion
{
    int calls;
    KOV_RESULT code;
    KOV_HANDLE job;
};

static void countCompletion(KOV_HANDLE job, KOV_RESULT code, void *context)
{
    struct Completion *completion = context;
    ++completion->calls;
    completion->code = code;
    completion->job = job;
}

static KOV_HANDLE questionOfAMachine(void)
{
    KOV_HANDLE event = NULL;
    REQUIRE(KovService_CreateEvent(KOV_RESULT_CODE(0x3E80), "{machine}", &event) == KOV_SUCCESS);
    REQUIRE(KovService_AddInt32Param(event, "vm_message_choice_0", 0x3E90) == KOV_SUCCESS);
    REQUIRE(KovService_AddInt32Param(event, "vm_message_choice_1", 0x3E91) == KOV_SUCCESS);
    REQUIRE(KovService_AddStringParam(event, "vm_name", "Debian <12>") == KOV_SUCCESS);
    return event;
}

static void readsAQuestion(void)
{
    const KOV_HANDLE event = questionOfAMachine();
    KOV_HANDLE param = NULL;
    _KOV_MESSAGE_TYPE_ENUM type = KMT_UNKNOWN;
    _KOV_PARAMETER_TYPE paramType = KPT_STRING;
    KOV_RESULT code = 0;
    int32_t choice = 0;
    int hidable = -1;
    int article = -1;
    uint32_t size = 0;
    char text[1000];

    REQUIRE(KovEvent_GetErrCode(event, &code) == KOV_SUCCESS && code == 0x3E80);
    REQUIRE(KovApi_GetMessageType(code, &type) == KOV_SUCCESS && type == KMT_QUESTION);
    REQUIRE(KovApi_MsgCanBeIgnored(code, &hidable) == KOV_SUCCESS && hidable == 1);
    REQUIRE(KovApi_HasSolutionArticle(code, &article) == KOV_SUCCESS && article == 0);
    REQUIRE(KovEvent_GetErrString(event, 0, 1, NULL, &size) == KOV_SUCCESS && size < sizeof text);
    size = sizeof text;
    REQUIRE(KovEvent_GetErrString(event, 0, 1, text, &size) == KOV_SUCCESS && size == strlen(text));
    REQUIRE(strstr(text, "Debian &lt;12&gt;") != NULL);
    size = sizeof text;
    REQUIRE(KovEvent_GetErrString(event, 0, 0, text, &size) == KOV_SUCCESS);
    REQUIRE(strstr(text, "Debian <12>") != NULL);

    REQUIRE(KovEvent_GetParamByName(event, "vm_message_choice_1", &param) == KOV_SUCCESS);
    REQUIRE(KovHandle_GetType(param) == KHT_EVENT_PARAMETER);
    REQUIRE(KovEvtPrm_GetType(param, &paramType) == KOV_SUCCESS && paramType == KPT_INT32);
    REQUIRE(KovEvtPrm_ToInt32(param, &choice) == KOV_SUCCESS);
    size = sizeof text;
    REQUIRE(KovApi_GetResultDescription(choice, 1, 0, text, &size) == KOV_SUCCESS);
    REQUIRE(strcmp(text, "Keep Running") == 0);
    REQUIRE(KovHandle_Free(param) == KOV_SUCCESS);
    REQUIRE(KovHandle_Free(event) == KOV_SUCCESS);
    REQUIRE(KovHandle_GetType(event) == KHT_INVALID);
}

static void followsAJob(void)
{
    struct Completion completion = {0, 0, NULL};
    const KOV_HANDLE cause = questionOfAMachine();
    KOV_HANDLE job = NULL;
    KOV_HANDLE error = NULL;
    KOV_RESULT code = 0;
    char data[8];
    uint32_t size = sizeof data;

    REQUIRE(KovService_CreateJob(&job) == KOV_SUCCESS);
    REQUIRE(KovJob_GetRetCode(job, &code) == KOV_ERR_IN_PROGRESS);
    REQUIRE(KovJob_SetCompletionFunction(job, countCompletion, &completion) == KOV_SUCCESS);
    REQUIRE(KovService_CompleteJob(job, KOV_ERR_FAILURE, cause, "kept") == KOV_SUCCESS);
    REQUIRE(KovService_CompleteJob(job, KOV_SUCCESS, NULL, NULL) == KOV_ERR_INVALID_ARG);
    REQUIRE(KovJob_Cancel(job) == KOV_SUCCESS);
    REQUIRE(completion.calls == 1 && completion.code == KOV_ERR_FAILURE && completion.job == job);
    REQUIRE(KovJob_GetRetCode(job, &code) == KOV_SUCCESS && code == KOV_ERR_FAILURE);
    REQUIRE(KovJob_GetData(job, data, &size) == KOV_SUCCESS && strcmp(data, "kept") == 0);

    REQUIRE(KovHandle_Free(cause) == KOV_SUCCESS);
    REQUIRE(KovJob_GetError(job, &error) == KOV_SUCCESS && KovHandle_GetType(error) == KHT_EVENT);
    REQUIRE(KovHandle_Free(error) == KOV_SUCCESS);
    REQUIRE(KovHandle_Free(job) == KOV_SUCCESS);
}

int main(void)
{
    readsAQuestion();
    followsAJob();
    return 0;
}
