/**
 * Types and result codes that every library of the family shares. Plain C.
 *
 * A KOV_RESULT is a signed 32-bit number: 0 is success, a negative value (top bit set) a failure, and a
 * positive value a result that is not a failure but says more than "done" (KOV_NO_UPDATE_AVAILABLE). The code
 * of a result is also the identifier of the message that tells the user about it.
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
/** An internal error: something happened that should not. */
#define KOV_ERR_UNEXPECTED KOV_RESULT_CODE(0x80000001u)
/** General failure, or "not available". */
#define KOV_ERR_FAILURE KOV_RESULT_CODE(0x80000009u)
/** Work of the same kind is in progress already. */
#define KOV_ERR_IN_PROGRESS KOV_RESULT_CODE(0x80000013u)
/** A problem report is no longer what it was when its making began; its file is of no use. Asked for anew, it
 * may succeed. */
#define KOV_ERR_PROBLEM_REPORT_OUTDATED KOV_RESULT_CODE(0x80000091u)
/** A problem report is stored as a file, whose path is the job's data, and not handed over otherwise. */
#define KOV_ERR_PROBLEM_REPORT_IN_FILE KOV_RESULT_CODE(0x80000251u)
/** Cancelled, by the user or by the owner of the work. */
#define KOV_ERR_CANCELLED KOV_RESULT_CODE(0x80000275u)
#define KOV_ERR_PROXY_AUTHENTICATION_REQUIRED KOV_RESULT_CODE(0x80038005u)
#define KOV_ERR_SERVER_AUTHENTICATION_REQUIRED KOV_RESULT_CODE(0x80038006u)
/** The updater program is missing. */
#define KOV_ERR_UPDATER_MISSING KOV_RESULT_CODE(0x80015206u)
#define KOV_ERR_UPDATE_SERVER_NOT_REACHABLE KOV_RESULT_CODE(0x80015207u)
/** The updater failed in any other way. Parameter %1 says why. */
#define KOV_ERR_UPDATER_FAILED KOV_RESULT_CODE(0x80015210u)
/** Informational: no update is available. */
#define KOV_NO_UPDATE_AVAILABLE KOV_RESULT_CODE(15282)
/** Informational: there is no proxy that could be asked for credentials. */
#define KOV_NO_PROXY_TO_ASK KOV_RESULT_CODE(15354)
/** A question: no connection to the update server, try again? */
#define KOV_QUESTION_NO_CONNECTION KOV_RESULT_CODE(15403)
/** A question: a newer version was found (its version is %1), install it or the current package? */
#define KOV_QUESTION_INSTALL_NEW_VERSION KOV_RESULT_CODE(0x3C1E)
/** A question: a major upgrade was found, get it now? Parameters: %1 the application, %2 the new version. */
#define KOV_QUESTION_INSTALL_MAJOR_UPGRADE KOV_RESULT_CODE(0x3C30)
/** Questions about a download, answered by "Try Again" or "Cancel". Parameter %1 is the file's name. */
#define KOV_QUESTION_DOWNLOAD_FAILED KOV_RESULT_CODE(0x3BFE)
#define KOV_QUESTION_DOWNLOAD_DAMAGED KOV_RESULT_CODE(0x3BFF)
#define KOV_QUESTION_EXISTING_FILE_DAMAGED KOV_RESULT_CODE(0x3C00)
/** Parameters: %1 the folder, %2 what is needed, %3 what is free, both with their units. */
#define KOV_QUESTION_NOT_ENOUGH_DISK_SPACE KOV_RESULT_CODE(0x3C01)
/** A question: applications that must be closed before an installation; %1 lists them, one a line. Answered
 * by "Try Again" or "Cancel". */
#define KOV_QUESTION_CLOSE_APPLICATIONS KOV_RESULT_CODE(0x3C08)
/** A question: cancel the unattended installation? */
#define KOV_QUESTION_CANCEL_SMART_INSTALL KOV_RESULT_CODE(0x3C09)
/** The installation of an update failed; answered by "Try Again" or "Cancel". Parameter %1 says why. */
#define KOV_ERR_UPDATE_INSTALLATION_FAILED KOV_RESULT_CODE(0x80015351u)
/** A problem report could not be delivered. */
#define KOV_PROBLEM_REPORT_NOT_SENT KOV_RESULT_CODE(15140)
/** A problem report was delivered; parameter %1 is its identifier. */
#define KOV_PROBLEM_REPORT_SENT KOV_RESULT_CODE(15141)

/* Errors of the service client interface itself. */
#define KOV_ERR_INVALID_ARG KOV_RESULT_CODE(0x80000003u)
#define KOV_ERR_OUT_OF_MEMORY KOV_RESULT_CODE(0x80000004u)
/** The handle is null, freed, or of another kind than the function takes. */
#define KOV_ERR_INVALID_HANDLE KOV_RESULT_CODE(0x80000005u)
/** The buffer is too small; the size argument holds the size that is needed. */
#define KOV_ERR_BUFFER_OVERRUN KOV_RESULT_CODE(0x80000006u)
/** No such code, parameter or element. */
#define KOV_ERR_NO_DATA KOV_RESULT_CODE(0x80000007u)

/** The kinds of a problem report. */
typedef enum _KOV_PROBLEM_REPORT_KIND {
    KPR_OLD_SCHEMA = 1005, /**< one document, without an archive */
    KPR_PACKED = 1054 /**< a main document, and an archive with every section as a file */
} _KOV_PROBLEM_REPORT_KIND;

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
