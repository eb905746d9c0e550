/**
 * Types and result codes that every library of the family shares. Plain C.
 *
 * A KOV_RESULT is a signed 32-bit number: 0 is success, a negative value (top bit set) a failure, and a positive
 * value a result that is not a failure but says more than "done" (KOV_NO_UPDATE_AVAILABLE). The code of a result is
 * also the identifier of the message that tells the user about it.
 */
#ifndef KOV_TYPES_H
#define KOV_TYPES_H

#include <stdint.h>

typedef int32_t KOV_RESULT;

/** True for every result that is not a failure, positive codes included. */
#define KOV_SUCCEEDED(result) ((KOV_RESULT)(result) >= 0)
#define KOV_FAILED(result) ((KOV_RESULT)(result) < 0)
#define KOV_RESULT_CODE(number) ((KOV_RESULT)(number))

#define KOV_SUCCESS KOV_RESULT_CODE(0)
/** General failure, or "not available". */
#define KOV_ERR_FAILURE KOV_RESULT_CODE(0x80000009u)
/** Work of the same kind is in progress already. */
#define KOV_ERR_IN_PROGRESS KOV_RESULT_CODE(0x80000013u)
/** Cancelled, by the user or by the owner of the work. */
#define KOV_ERR_CANCELLED KOV_RESULT_CODE(0x80000275u)
#define KOV_ERR_PROXY_AUTHENTICATION_REQUIRED KOV_RESULT_CODE(0x80038005u)
#define KOV_ERR_SERVER_AUTHENTICATION_REQUIRED KOV_RESULT_CODE(0x80038006u)
/** The updater program is missing. */
#define KOV_ERR_UPDATER_MISSING KOV_RESULT_CODE(0x80015206u)
#define KOV_ERR_UPDATE_SERVER_NOT_REACHABLE KOV_RESULT_CODE(0x80015207u)
/** The updater failed in any other way. */
#define KOV_ERR_UPDATER_FAILED KOV_RESULT_CODE(0x80015210u)
/** Informational: no update is available. */
#define KOV_NO_UPDATE_AVAILABLE KOV_RESULT_CODE(15282)
/** A question: no connection to the update server, try again? */
#define KOV_QUESTION_NO_CONNECTION KOV_RESULT_CODE(15403)

/* Errors of the service client interface itself. */
#define KOV_ERR_INVALID_ARG KOV_RESULT_CODE(0x80000003u)
#define KOV_ERR_OUT_OF_MEMORY KOV_RESULT_CODE(0x80000004u)
/** The handle is null, freed, or of another kind than the function takes. */
#define KOV_ERR_INVALID_HANDLE KOV_RESULT_CODE(0x80000005u)
/** The buffer is too small; the size argument holds the size that is needed. */
#define KOV_ERR_BUFFER_OVERRUN KOV_RESULT_CODE(0x80000006u)
/** No such code, parameter or element. */
#define KOV_ERR_NO_DATA KOV_RESULT_CODE(0x80000007u)

/** What a message is; decides its icon and its default answers. */
typedef enum _KOV_MESSAGE_TYPE_ENUM {
    KMT_UNKNOWN = 0,
    KMT_ERROR = 1,
    KMT_WARNING = 2,
    KMT_QUESTION = 3,
    KMT_INFORMATION = 4
} _KOV_MESSAGE_TYPE_ENUM;

/** The client applications of the family. Other values are legal and mean an unknown application. */
typedef enum _KOV_APPLICATION_MODE {
    KAM_CONSOLE = 0,
    KAM_SERVER = 1,
    KAM_AGENT = 2,
    KAM_WORKSTATION = 3,
    KAM_PLAYER = 4,
    KAM_SERVER_TOOLS = 5,
    KAM_MOBILE = 6
} _KOV_APPLICATION_MODE;

#endif
