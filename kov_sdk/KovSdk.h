/**
 * The service client interface: descriptions of result codes, events, jobs and their parameters. Plain C.
 *
 * Behind it stands either the embedded service of this project or the client library of a product.
 *
 * Handles are reference counted. A function that yields a handle through a pointer adds a reference for its
 * caller, who gives it back with KovHandle_Free. Freeing a handle once too often, or using one that is gone
 * or of another kind, is a logged error and KOV_ERR_INVALID_HANDLE, never a crash: handle values are never
 * used again. What the service itself refers to (an event its nested event, a job its error event) stays
 * whatever a program frees; a handle obtained after the last one was freed has another value.
 *
 * Texts are UTF-8; invalid bytes become U+FFFD. A function that fills a buffer takes the buffer's size in
 * *size and puts the number of bytes of the text there, the terminating NUL not counted. A null buffer asks
 * for that number only. A buffer that cannot hold the text and its NUL is left as it is:
 * KOV_ERR_BUFFER_OVERRUN, with *size set to the bytes to allocate (the NUL included).
 *
 * Every function may be called from any thread. Null output pointers are KOV_ERR_INVALID_ARG. Outputs are
 * written on success only, but for *size as said above.
 */
#ifndef KOV_SDK_H
#define KOV_SDK_H

#include "kov_sdk/KovTypes.h"

#if defined(_WIN32)
#if defined(KovSdk_EXPORTS)
#define KOV_SDK_EXPORT __declspec(dllexport)
#else
#define KOV_SDK_EXPORT __declspec(dllimport)
#endif
#else
#define KOV_SDK_EXPORT __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef struct KovHandle *KOV_HANDLE;

typedef enum _KOV_HANDLE_TYPE {
    KHT_INVALID = 0,
    KHT_EVENT = 1,
    KHT_EVENT_PARAMETER = 2,
    KHT_JOB = 3,
    KHT_REPORT = 4
} _KOV_HANDLE_TYPE;

typedef enum _KOV_PARAMETER_TYPE { KPT_STRING = 0, KPT_INT32 = 1, KPT_HANDLE = 2 } _KOV_PARAMETER_TYPE;

/* ---- The library ---- */

/**
 * Receives the library's own errors: `level` as in the application's log (0 error ... 4 trace), `text` one
 * line. Null restores the default, which writes errors to standard error. The function may be called from any
 * thread.
 */
typedef void (*KovApi_LogFunction)(unsigned level, const char *text);
KOV_SDK_EXPORT void KovApi_SetLogFunction(KovApi_LogFunction function);

/**
 * Adds a host's own message catalogue (docs/reference/message-catalogue.md). Its codes replace equal ones of
 * the built-in catalogue and of files loaded before. A file that cannot be read or holds an error is refused
 * whole: one logged line says where and why, and the codes stay as they were. KOV_ERR_NO_DATA when the file
 * cannot be read (only regular files are), KOV_ERR_INVALID_ARG when it holds an error.
 *
 * @param path  UTF-8
 */
KOV_SDK_EXPORT KOV_RESULT KovApi_LoadMessageCatalogue(const char *path);

/* ---- Result codes ---- */

/**
 * Placeholders of parameters stand in the text as %1, %2 and so on. An unknown code is KOV_ERR_NO_DATA.
 * A brief text needs a buffer of at most 400 bytes, a full one at most 1000.
 *
 * @param brief      non-zero for the short text, zero for the full one
 * @param formatted  non-zero for the text as it is shown, always to be read as rich text: <b>, <i>, <br>,
 *                   links to http, https and kovhelp addresses, entities; zero for the bare text
 */
KOV_SDK_EXPORT KOV_RESULT KovApi_GetResultDescription(KOV_RESULT code, int brief, int formatted, char *buffer,
                                                      uint32_t *size);
/** KMT_UNKNOWN for the code of an answer's text, which is no message by itself. */
KOV_SDK_EXPORT KOV_RESULT KovApi_GetMessageType(KOV_RESULT code, _KOV_MESSAGE_TYPE_ENUM *type);
/** *flag becomes 1 when the user may hide the message of this code, else 0. */
KOV_SDK_EXPORT KOV_RESULT KovApi_MsgCanBeIgnored(KOV_RESULT code, int *flag);
/** *flag becomes 1 when a solution article exists for this code, else 0. Never 1 for a question. */
KOV_SDK_EXPORT KOV_RESULT KovApi_HasSolutionArticle(KOV_RESULT code, int *flag);

/* ---- Handles ---- */

KOV_SDK_EXPORT KOV_RESULT KovHandle_AddRef(KOV_HANDLE handle);
KOV_SDK_EXPORT KOV_RESULT KovHandle_Free(KOV_HANDLE handle);
/** KHT_INVALID for a null or freed handle; never fails and never logs. */
KOV_SDK_EXPORT _KOV_HANDLE_TYPE KovHandle_GetType(KOV_HANDLE handle);

/* ---- Events ---- */

KOV_SDK_EXPORT KOV_RESULT KovEvent_GetErrCode(KOV_HANDLE event, KOV_RESULT *code);
/** The description of the event's code with the event's parameters put in for %1, %2 ... (its string and
   number parameters in index order, nested events and the choices vm_message_choice_N left out). A parameter
   is never read as markup. The text may be longer than that of the code: ask for its size first. */
KOV_SDK_EXPORT KOV_RESULT KovEvent_GetErrString(KOV_HANDLE event, int brief, int formatted, char *buffer,
                                                uint32_t *size);
/** Empty text when the event belongs to no issuer. */
KOV_SDK_EXPORT KOV_RESULT KovEvent_GetIssuerId(KOV_HANDLE event, char *buffer, uint32_t *size);
KOV_SDK_EXPORT KOV_RESULT KovEvent_GetParamsCount(KOV_HANDLE event, uint32_t *count);
/** KOV_ERR_NO_DATA when there is no such parameter; of several with one name the first is given. */
KOV_SDK_EXPORT KOV_RESULT KovEvent_GetParam(KOV_HANDLE event, uint32_t index, KOV_HANDLE *param);
KOV_SDK_EXPORT KOV_RESULT KovEvent_GetParamByName(KOV_HANDLE event, const char *name, KOV_HANDLE *param);

KOV_SDK_EXPORT KOV_RESULT KovEvtPrm_GetName(KOV_HANDLE param, char *buffer, uint32_t *size);
KOV_SDK_EXPORT KOV_RESULT KovEvtPrm_GetType(KOV_HANDLE param, _KOV_PARAMETER_TYPE *type);
/** Numbers are given in decimal; a handle parameter has no text (KOV_ERR_NO_DATA). */
KOV_SDK_EXPORT KOV_RESULT KovEvtPrm_ToString(KOV_HANDLE param, char *buffer, uint32_t *size);
/** Only for a parameter of that type, otherwise KOV_ERR_NO_DATA; no text is turned into a number. */
KOV_SDK_EXPORT KOV_RESULT KovEvtPrm_ToInt32(KOV_HANDLE param, int32_t *value);
KOV_SDK_EXPORT KOV_RESULT KovEvtPrm_ToHandle(KOV_HANDLE param, KOV_HANDLE *handle);

/* ---- Jobs ---- */

/** KOV_ERR_IN_PROGRESS while the job runs; else KOV_SUCCESS, with the job's own result in *code. */
KOV_SDK_EXPORT KOV_RESULT KovJob_GetRetCode(KOV_HANDLE job, KOV_RESULT *code);
/** The event that explains the job's failure; KOV_ERR_NO_DATA when there is none. */
KOV_SDK_EXPORT KOV_RESULT KovJob_GetError(KOV_HANDLE job, KOV_HANDLE *event);
/** Ends a running job with KOV_ERR_CANCELLED. A finished job keeps its result: KOV_SUCCESS all the same. */
KOV_SDK_EXPORT KOV_RESULT KovJob_Cancel(KOV_HANDLE job);
/** Text data that the job brought back, the empty text when none. */
KOV_SDK_EXPORT KOV_RESULT KovJob_GetData(KOV_HANDLE job, char *buffer, uint32_t *size);
/**
 * Calls `function` once, when the job ends, on the thread that ended it; at once when it has ended already. A
 * job has one such function: a second call replaces the first, null removes it. When the call returns, a
 * replaced function is neither running (unless it is the caller) nor called again. So do not call it while
 * holding what the function waits for. The function gets the handle it was set for, which lives until it
 * returns. A job whose last handle is freed while it runs is gone, and its function is not called.
 */
typedef void (*KovJob_CompletionFunction)(KOV_HANDLE job, KOV_RESULT code, void *context);
KOV_SDK_EXPORT KOV_RESULT KovJob_SetCompletionFunction(KOV_HANDLE job, KovJob_CompletionFunction function,
                                                       void *context);

/* ---- Problem reports ---- */

/**
 * Asks the service to collect a problem report: the job yields a report when it has ended with success, and
 * the path of the report's archive, UTF-8, is its data. A job that ended with KOV_ERR_PROBLEM_REPORT_IN_FILE
 * yields only the path; one that ended with KOV_ERR_PROBLEM_REPORT_OUTDATED the path of a file that its
 * caller deletes. An archive belongs to the caller; the service keeps its last three.
 *
 * The embedded service collects in a program of its own. A job that is cancelled, or whose last handle is
 * freed, ends that program and leaves no file behind.
 *
 * @param kind        KPR_PACKED or KPR_OLD_SCHEMA
 * @param clientPart  what the client tells, as a document "Report" (docs/reference/problem-report.md): its
 *                    sections, and its attachments, whose SourcePath names the file that the service reads.
 *                    May be null
 */
KOV_SDK_EXPORT KOV_RESULT KovApi_GetProblemReport(uint32_t kind, const char *clientPart, KOV_HANDLE *job);
/** KOV_ERR_IN_PROGRESS while the job runs, KOV_ERR_NO_DATA when it yields no report. */
KOV_SDK_EXPORT KOV_RESULT KovJob_GetReport(KOV_HANDLE job, KOV_HANDLE *report);
/** How far the job is, 0 to 100. Never goes back. */
KOV_SDK_EXPORT KOV_RESULT KovJob_GetProgress(KOV_HANDLE job, uint32_t *percent);
/** The report's main document: bytes without a NUL at their end. A null buffer asks for their number, a
    buffer that is too small is left as it is: KOV_ERR_BUFFER_OVERRUN, with *size set to the number. */
KOV_SDK_EXPORT KOV_RESULT KovReport_GetData(KOV_HANDLE report, void *buffer, uint32_t *size);
/** The name of the archive's file, without a folder and with ".tar.gz". Empty for the old schema. */
KOV_SDK_EXPORT KOV_RESULT KovReport_GetArchiveFileName(KOV_HANDLE report, char *buffer, uint32_t *size);

/* ---- The service's side: what a host application or a test raises ---- */

KOV_SDK_EXPORT KOV_RESULT KovService_CreateEvent(KOV_RESULT code, const char *issuerId, KOV_HANDLE *event);
KOV_SDK_EXPORT KOV_RESULT KovService_AddStringParam(KOV_HANDLE event, const char *name, const char *value);
KOV_SDK_EXPORT KOV_RESULT KovService_AddInt32Param(KOV_HANDLE event, const char *name, int32_t value);
/** Nests an event: `value` is one, and `event` keeps a reference of its own. An event that would come to hold
   itself is KOV_ERR_INVALID_ARG. Any depth is fine. */
KOV_SDK_EXPORT KOV_RESULT KovService_AddHandleParam(KOV_HANDLE event, const char *name, KOV_HANDLE value);
KOV_SDK_EXPORT KOV_RESULT KovService_CreateJob(KOV_HANDLE *job);
/** May be called from inside a completion function of another job, and while another thread cancels this one:
   one of the two ends it.
    @param errorEvent  may be null
    @param data        may be null
    A second completion is KOV_ERR_INVALID_ARG and changes nothing. */
KOV_SDK_EXPORT KOV_RESULT KovService_CompleteJob(KOV_HANDLE job, KOV_RESULT code, KOV_HANDLE errorEvent,
                                                 const char *data);
/** Values above 100 count as 100, smaller ones than before for nothing, and those of an ended job, too. */
KOV_SDK_EXPORT KOV_RESULT KovService_SetJobProgress(KOV_HANDLE job, uint32_t percent);
/** @param data  `size` bytes; may be null when there are none */
KOV_SDK_EXPORT KOV_RESULT KovService_CreateReport(const void *data, uint32_t size, const char *archiveName,
                                                  KOV_HANDLE *report);
/** Ends the job as KovService_CompleteJob does, with a report that it yields. */
KOV_SDK_EXPORT KOV_RESULT KovService_CompleteJobWithReport(KOV_HANDLE job, KOV_RESULT code, KOV_HANDLE report,
                                                           const char *data);
/** Where the embedded service keeps the archives of its reports, UTF-8. Null restores the default, the folder
    "tessarine/service-reports" in the user's data. */
KOV_SDK_EXPORT KOV_RESULT KovService_SetReportFolder(const char *path);

#ifdef __cplusplus
}
#endif

#endif
