#include "kov_sdk/Job_p.h"
#include "kov_sdk/ReportCollection_p.h"
#include "kov_sdk/ServiceCall_p.h"

#include <cstring>

using namespace KovService;

namespace {

template <typename Kind, typename Body>
KOV_RESULT with(const char *function, KOV_HANDLE handle, Body body)
{
    return call(function, [&] {
        const std::shared_ptr<Kind> object = find<Kind>(function, handle);
        return object ? body(*object) : KOV_ERR_INVALID_HANDLE;
    });
}

} // namespace

extern "C" KOV_RESULT KovApi_GetProblemReport(uint32_t kind, const char *clientPart, KOV_HANDLE *job)
{
    return call("KovApi_GetProblemReport", [&] {
        if (!job || (kind != KPR_PACKED && kind != KPR_OLD_SCHEMA))
            return KOV_ERR_INVALID_ARG;
        const auto object = std::make_shared<Job>();
        const KOV_HANDLE handle = HandleTable::instance().yield(object);
        try {
            collectReport(object, kind, clientPart ? validUtf8(clientPart) : std::string());
        } catch (...) {
            HandleTable::instance().release(handle);
            throw;
        }
        *job = handle;
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovJob_GetReport(KOV_HANDLE job, KOV_HANDLE *report)
{
    return with<Job>("KovJob_GetReport", job, [&](Job &object) {
        if (!report)
            return KOV_ERR_INVALID_ARG;
        if (!object.hasEnded())
            return KOV_ERR_IN_PROGRESS;
        const std::shared_ptr<Report> yielded = object.outcome().report;
        if (!yielded)
            return KOV_ERR_NO_DATA;
        *report = HandleTable::instance().yield(yielded);
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovJob_GetProgress(KOV_HANDLE job, uint32_t *percent)
{
    return with<Job>("KovJob_GetProgress", job, [&](Job &object) {
        if (!percent)
            return KOV_ERR_INVALID_ARG;
        *percent = object.progress();
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovReport_GetData(KOV_HANDLE report, void *buffer, uint32_t *size)
{
    return with<Report>("KovReport_GetData", report, [&](Report &object) {
        if (!size)
            return KOV_ERR_INVALID_ARG;
        const auto length = static_cast<uint32_t>(object.data.size());
        const bool fits = !buffer || *size >= length;
        *size = length;
        if (!fits)
            return KOV_ERR_BUFFER_OVERRUN;
        if (buffer)
            std::memcpy(buffer, object.data.data(), length);
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovReport_GetArchiveFileName(KOV_HANDLE report, char *buffer, uint32_t *size)
{
    return with<Report>("KovReport_GetArchiveFileName", report,
                        [&](Report &object) { return copyText(object.archiveName, buffer, size); });
}

extern "C" KOV_RESULT KovService_SetJobProgress(KOV_HANDLE job, uint32_t percent)
{
    return with<Job>("KovService_SetJobProgress", job, [&](Job &object) {
        object.setProgress(percent);
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovService_CreateReport(const void *data, uint32_t size, const char *archiveName,
                                              KOV_HANDLE *report)
{
    return call("KovService_CreateReport", [&] {
        if (!report || (!data && size > 0))
            return KOV_ERR_INVALID_ARG;
        *report = HandleTable::instance().yield(
            std::make_shared<Report>(std::string(static_cast<const char *>(data), size),
                                     archiveName ? validUtf8(archiveName) : std::string()));
        return KOV_SUCCESS;
    });
}

extern "C" KOV_RESULT KovService_CompleteJobWithReport(KOV_HANDLE job, KOV_RESULT code, KOV_HANDLE report,
                                                       const char *data)
{
    return with<Job>("KovService_CompleteJobWithReport", job, [&](Job &object) {
        const std::shared_ptr<Report> yielded = find<Report>("KovService_CompleteJobWithReport", report);
        if (!yielded)
            return KOV_ERR_INVALID_HANDLE;
        const bool ended = object.end({code, nullptr, data ? validUtf8(data) : std::string(), yielded});
        return ended ? KOV_SUCCESS : KOV_ERR_INVALID_ARG;
    });
}

extern "C" KOV_RESULT KovService_SetReportFolder(const char *path)
{
    return call("KovService_SetReportFolder", [&] {
        setReportFolder(path ? validUtf8(path) : std::string());
        return KOV_SUCCESS;
    });
}
