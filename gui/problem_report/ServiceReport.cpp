#include "gui/problem_report/ServiceReport_p.h"

#include "gui/data_model/documents/CPackedProblemReport.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"

#include <QString>

namespace {

/// As the service's header promises.
constexpr uint32_t longestDescription = 400;

t_SdkHandleWrap reportOf(const t_SdkHandleWrap &job)
{
    t_SdkHandleWrap report;
    if (KOV_FAILED(KovJob_GetReport(job, report.out())))
        report.reset();
    return report;
}

bool failed(KOV_RESULT result, const char *complaint)
{
    if (!KOV_FAILED(result))
        return false;
    KOV_LOG(0, "%s %.8X '%s'", complaint, uint(result), ServiceReport::descriptionOf(result).constData());
    return true;
}

QByteArray dataOf(KOV_HANDLE report)
{
    uint32_t size = 0;
    if (failed(KovReport_GetData(report, nullptr, &size), "Failed to get buffer size"))
        return QByteArray();
    if (size == 0) {
        KOV_LOG(0, "Empty problem report received");
        return QByteArray();
    }
    QByteArray data(int(size), '\0');
    if (failed(KovReport_GetData(report, data.data(), &size), "Failed to extract buffer data"))
        return QByteArray();
    data.truncate(int(size));
    return data;
}

/// A null text when it cannot be had.
QString archiveNameOf(KOV_HANDLE report)
{
    uint32_t size = 0;
    if (failed(KovReport_GetArchiveFileName(report, nullptr, &size), "Failed to get buffer size"))
        return QString();
    QByteArray name(int(size) + 1, '\0');
    size = uint32_t(name.size());
    if (failed(KovReport_GetArchiveFileName(report, name.data(), &size), "Failed to get archive file name"))
        return QString();
    return QString::fromUtf8(name.constData(), int(size)).remove(QLatin1String(".tar.gz"))
           + QLatin1String("");
}

} // namespace

QByteArray ServiceReport::readPacked(const t_SdkHandleWrap &job)
{
    t_SdkHandleWrap report = reportOf(job);
    if (report.isNull()) {
        KOV_LOG(0, "(!)Error: report parameter is empty!");
        return QByteArray();
    }
    const QByteArray data = dataOf(report);
    const QString name = data.isEmpty() ? QString() : archiveNameOf(report);
    report.reset();
    if (data.isEmpty() || name.isNull())
        return QByteArray();
    CPackedProblemReport parsed;
    XmlReport faults;
    if (!parsed.read(data, &faults)) {
        KOV_LOG(0, "(!)Error: can't create report instance from %s.", KovGui::logText(name).constData());
        KOV_LOG(0, "(!)Error: %s", KovGui::logText(faults.locatedErrors().value(0)).constData());
        return QByteArray();
    }
    parsed.archiveName = name;
    return parsed.write();
}

QByteArray ServiceReport::readOldSchema(const t_SdkHandleWrap &job)
{
    const t_SdkHandleWrap report = reportOf(job);
    const QByteArray data = report.isNull() ? QByteArray() : dataOf(report);
    if (data.isEmpty()) {
        KOV_LOG(0, "cannot create report instance!");
        return QByteArray();
    }
    CPackedProblemReport parsed;
    if (parsed.read(data))
        return parsed.write();
    KOV_LOG(0, "cannot parse from base report instance!");
    return QByteArray();
}

QByteArray ServiceReport::descriptionOf(KOV_RESULT code)
{
    char text[longestDescription] = {};
    uint32_t size = sizeof text;
    if (KOV_FAILED(KovApi_GetResultDescription(code, 1, 0, text, &size)))
        return QByteArray("no description");
    return KovGui::logText(QByteArray(text, int(size)));
}
