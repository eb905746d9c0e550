#include "gui/data_model/documents/CPackedProblemReport.h"
#include "gui/platform/StandardStreams.h"
#include "gui/problem_report/archive/ReportArchive_p.h"
#include "kov_sdk/KovTypes.h"
#include "kov_sdk/collector/HostFacts.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QCryptographicHash>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUuid>

#include <cstdio>

namespace {

using ReportArchive::Outcome;
using ReportArchive::Source;

/// The main document of an archive, its first file.
const char mainDocument[] = "Report.xml";

void sayProgress(int percent)
{
    std::printf("progress %d\n", percent);
    // A service that is gone ends this program here.
    std::fflush(stdout);
}

int sayResult(KOV_RESULT result, const QByteArray &document = {})
{
    std::printf("result %x %d\n", uint(result), int(document.size()));
    std::fwrite(document.constData(), 1, size_t(document.size()), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

Source fromMemory(const QString &name, const QByteArray &content)
{
    return {name, content.size(), [content] {
                auto buffer = std::make_unique<QBuffer>();
                buffer->setData(content);
                buffer->open(QIODevice::ReadOnly);
                return buffer;
            }};
}

/// Makes one report.
class Collector
{
public:
    Collector(const QJsonObject &request)
        : m_archivePath(request.value(QStringLiteral("archive")).toString())
        , m_isPacked(request.value(QStringLiteral("kind")).toInt() == KPR_PACKED)
        , m_clientPart(request.value(QStringLiteral("clientPart")).toString().toUtf8())
    { }

    int run()
    {
        XmlReport faults;
        if (!m_clientPart.isEmpty() && !m_report.read(m_clientPart, &faults)) {
            std::fprintf(stderr, "kovsdk-collect-report: the client's part cannot be read: %s\n",
                         qUtf8Printable(faults.locatedErrors().value(0)));
            return sayResult(KOV_ERR_INVALID_ARG);
        }
        describe();
        return m_isPacked ? pack() : sayResult(KOV_SUCCESS, m_report.write());
    }

private:
    void describe()
    {
        if (m_report.type.isEmpty())
            m_report.type = QStringLiteral("user");
        m_report.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
        m_report.createdOn = QDateTime::currentDateTimeUtc();
        const QString file = m_archivePath.section(QLatin1Char('/'), -1);
        m_report.archiveName = file.endsWith(QLatin1String(".tar.gz")) ? file.chopped(7) : file;
        sayProgress(5);
        m_report.hostInfo = HostFacts::hostInfo();
        m_report.moreHostInfo = HostFacts::moreHostInfo();
        sayProgress(10);
        m_report.hostStatistics = HostFacts::hostStatistics();
        m_report.netConfig = HostFacts::netConfig();
        sayProgress(15);
    }

    void addText(const char *name, const QByteArray &content)
    {
        if (content.isEmpty())
            return;
        CReportAttachment attachment;
        attachment.fileName = QLatin1String(name);
        attachment.kind = QStringLiteral("text");
        attachment.size = qint64(content.size());
        m_report.attachments.append(attachment);
        m_sources.append(fromMemory(attachment.fileName, content));
    }

    template <typename Section>
    void addSection(const char *name, std::optional<Section> &section)
    {
        // In the archive a section is a file of its own.
        if (!section)
            return;
        m_sources.append(fromMemory(QLatin1String(name), section->write()));
        section.reset();
    }

    /// The client's attachments: their sizes are fixed now, whatever is added to a log later.
    void addAttachments()
    {
        QVector<CReportAttachment> taken;
        for (CReportAttachment attachment : qAsConst(m_report.attachments)) {
            const QString path = attachment.sourcePath;
            const std::unique_ptr<QIODevice> file = HostFacts::openAttachment(path);
            if (!file || !ReportArchive::isSafeName(attachment.fileName)) {
                std::fprintf(stderr, "kovsdk-collect-report: an attachment is left out: %s\n",
                             qUtf8Printable(attachment.fileName));
                continue;
            }
            attachment.size = qint64(file->size());
            taken.append(attachment);
            m_sources.append(
                {attachment.fileName, file->size(), [path] { return HostFacts::openAttachment(path); }});
        }
        m_report.attachments = taken;
    }

    int pack()
    {
        addAttachments();
        addText("AllProcesses.txt", HostFacts::allProcesses());
        addText("PerformanceCounters.txt", HostFacts::performanceCounters());
        addText("InstalledSoftware.txt", HostFacts::installedSoftware());
        CPackedProblemReport whole = m_report;
        addSection("AppConfig.xml", m_report.appConfig);
        addSection("VmDirectory.xml", m_report.vmDirectory);
        addSection("NetConfig.xml", m_report.netConfig);
        addSection("CurrentVm.xml", m_report.currentVm);
        addSection("AdvancedVmInfo.xml", m_report.advancedVmInfo);
        addSection("GuestOs.xml", m_report.guestOs);
        addSection("HostInfo.xml", m_report.hostInfo);
        addSection("MoreHostInfo.xml", m_report.moreHostInfo);
        addSection("HostStatistics.xml", m_report.hostStatistics);
        addSection("ClientInfo.xml", m_report.clientInfo);
        addSection("KeyboardMouseProfiles.xml", m_report.keyboardMouseProfiles);
        m_sources.prepend(fromMemory(QLatin1String(mainDocument), m_report.write()));
        sayProgress(20);

        qint64 total = 1;
        for (const Source &source : qAsConst(m_sources))
            total += source.size;
        int said = 20;
        QFile archive(m_archivePath);
        if (!archive.open(QIODevice::WriteOnly | QIODevice::NewOnly)
            || !archive.setPermissions(QFile::ReadOwner | QFile::WriteOwner))
            return fail(archive.errorString());
        const auto result = ReportArchive::pack(m_sources, archive, [&](qint64 bytes) {
            const int percent = 20 + int(bytes * 79 / total);
            if (percent > said)
                sayProgress(said = percent);
            return true;
        });
        if (result.outcome == Outcome::Changed)
            return sayResult(KOV_ERR_PROBLEM_REPORT_OUTDATED);
        if (result.outcome != Outcome::Done || !archive.flush())
            return fail(result.outcome == Outcome::Done ? archive.errorString() : result.reason);
        sayProgress(100);
        return sayResult(KOV_SUCCESS, whole.write());
    }

    static int fail(const QString &reason)
    {
        std::fprintf(stderr, "kovsdk-collect-report: %s\n", qUtf8Printable(reason));
        return sayResult(KOV_ERR_FAILURE);
    }

    const QString m_archivePath;
    const bool m_isPacked;
    const QByteArray m_clientPart;
    CPackedProblemReport m_report;
    QVector<Source> m_sources;
};

} // namespace

/// See kov_sdk/ReportCollection_p.h for what it is told and what it answers.
int main(int argc, char *argv[])
{
    KovGui::Platform::useBinaryStreams();
    const QCoreApplication application(argc, argv);
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return 1;
    return Collector(QJsonDocument::fromJson(input.readAll()).object()).run();
}
