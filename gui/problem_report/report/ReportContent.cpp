#include "gui/problem_report/report/ReportContent_p.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/problem_report/report/ArchiveModule_p.h"
#include "gui/problem_report/report/BackgroundWork_p.h"
#include "gui/problem_report/report/PersonalData.h"
#include "gui/problem_report/report/ReportFolder_p.h"
#include "gui/problem_report/report/ReportSections.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>

using KovGui::logText;

namespace {

constexpr int blockSize = 256 * 1024;

struct LocalFile
{
    QString name;
    QString path;
    qint64 size = 0;
    QByteArray text; ///< in place of a path
};

/// What the thread that opens a report found.
struct Opening
{
    QStringList files;
    QString complaint;
};

bool write(const QString &path, const QByteArray &content)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.setPermissions(QFile::ReadOwner | QFile::WriteOwner)
           && file.write(content) == content.size() && file.commit();
}

template <typename Section>
void writeSection(const QString &folder, int type, const std::optional<Section> &section, QStringList *files)
{
    const QString name = ReportSections::fileName(type);
    // A file of the archive is what the service wrote.
    if (section && !files->contains(name) && write(folder + QLatin1Char('/') + name, section->write()))
        files->append(name);
}

void writeSections(const QString &folder, const CPackedProblemReport &report, QStringList *files)
{
    using namespace ReportSections;
    writeSection(folder, AppConfig, report.appConfig, files);
    writeSection(folder, VmDirectory, report.vmDirectory, files);
    writeSection(folder, NetConfig, report.netConfig, files);
    writeSection(folder, CurrentVm, report.currentVm, files);
    writeSection(folder, AdvancedVmInfo, report.advancedVmInfo, files);
    writeSection(folder, GuestOs, report.guestOs, files);
    writeSection(folder, HostInfo, report.hostInfo, files);
    writeSection(folder, MoreHostInfo, report.moreHostInfo, files);
    writeSection(folder, HostStatistics, report.hostStatistics, files);
    writeSection(folder, ClientInfo, report.clientInfo, files);
    writeSection(folder, KeyboardMouseProfiles, report.keyboardMouseProfiles, files);
}

/// At most as much as the file had when it was named: one that grows is never copied for ever.
bool copyFile(const LocalFile &source, const QString &path, const BackgroundWork::GoOn &goOn)
{
    if (source.path.isEmpty())
        return write(path, source.text);
    QFile input(source.path);
    QFile output(path);
    if (!input.open(QIODevice::ReadOnly | QIODevice::Unbuffered)
        || !output.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered)
        || !output.setPermissions(QFile::ReadOwner | QFile::WriteOwner))
        return false;
    qint64 missing = source.size;
    while (missing > 0 && goOn(0)) {
        const QByteArray block = input.read(qMin<qint64>(missing, blockSize));
        if (block.isEmpty() || output.write(block) != block.size())
            return block.isEmpty();
        missing -= block.size();
    }
    return true;
}

Opening openReport(const QString &folder, const QString &archivePath, const CPackedProblemReport &report,
                   const QVector<LocalFile> &localFiles, const BackgroundWork::GoOn &goOn)
{
    Opening found;
    if (!archivePath.isEmpty()) {
        const ReportArchive::Result result = ArchiveModule::unpack(archivePath, folder, goOn, &found.files);
        found.complaint = result.reason;
    }
    writeSections(folder, report, &found.files);
    for (const LocalFile &file : localFiles) {
        const QString path = folder + QLatin1Char('/') + file.name;
        if (found.files.contains(file.name))
            continue;
        if (copyFile(file, path, goOn))
            found.files.append(file.name);
        else
            KOV_LOG(1, "(!)Warning: %s cannot be added to the problem report.",
                    logText(file.path).constData());
    }
    found.files.removeAll(ReportSections::fileName(ReportSections::MainDocument));
    std::stable_sort(found.files.begin(), found.files.end(), [](const QString &a, const QString &b) {
        return ReportSections::typeOfFile(a) < ReportSections::typeOfFile(b);
    });
    return found;
}

} // namespace

Q_DECLARE_METATYPE(Opening)

class ReportContent::Private
{
public:
    qint64 sizeOfFiles() const
    {
        qint64 size = 1;
        for (const QString &name : files)
            size += QFileInfo(QDir(folder->path()).filePath(name)).size();
        return size;
    }

    CPackedProblemReport report;
    QString archivePath;
    QVector<LocalFile> localFiles;
    std::unique_ptr<ReportFolder> folder;
    QStringList files;
    QString complaint;
    State state = NotOpened;
    bool isTakenOut = false;
    QVector<PersonalData::Term> terms;
    /// After the folder: it ends first.
    std::unique_ptr<BackgroundWork> work;
};

ReportContent::ReportContent(QObject *parent)
    : QObject(parent)
    , d(new Private)
{ }

ReportContent::~ReportContent() = default;

bool ReportContent::setDocument(const QByteArray &document)
{
    XmlReport faults;
    if (d->report.read(document, &faults))
        return true;
    KOV_LOG(0, "(!)Error: the problem report cannot be read: %s",
            logText(faults.locatedErrors().value(0)).constData());
    return false;
}

void ReportContent::setArchivePath(const QString &path)
{
    d->archivePath = path;
}

QString ReportContent::archivePath() const
{
    return d->archivePath;
}

void ReportContent::addFile(const QString &name, const QString &path)
{
    const QFileInfo info(path);
    if (info.isFile())
        d->localFiles.append({name, path, info.size(), QByteArray()});
}

void ReportContent::addText(const QString &name, const QByteArray &text)
{
    d->localFiles.append({name, QString(), 0, text});
}

void ReportContent::open()
{
    if (d->state != NotOpened)
        return;
    d->state = Opening;
    d->folder = ReportFolder::create();
    const QString folder = d->folder ? d->folder->path() : QString();
    const auto body = [folder, archive = d->archivePath, report = d->report,
                       files = d->localFiles](const BackgroundWork::GoOn &goOn) {
        // Nothing to write to: the user still describes what happened.
        if (folder.isEmpty())
            return QVariant::fromValue(::Opening{{}, tr("There is no place on the disk for its parts.")});
        return QVariant::fromValue(openReport(folder, archive, report, files, goOn));
    };
    const qint64 size = qMax<qint64>(1, QFileInfo(d->archivePath).size());
    d->work = std::make_unique<BackgroundWork>(body, this);
    connect(d->work.get(), &BackgroundWork::progress, this,
            [this, size](qint64 done) { Q_EMIT progress(int(qMin<qint64>(100, done * 100 / size))); });
    connect(d->work.get(), &BackgroundWork::finished, this, [this](const QVariant &result) {
        d->work.release()->deleteLater(); // another one may begin in a slot of what follows
        const auto found = result.value<::Opening>();
        d->files = found.files;
        d->complaint = found.complaint;
        d->state = Opened;
        if (!d->complaint.isEmpty())
            KOV_LOG(0, "(!)Error: the archive %s of the problem report is not used: %s",
                    logText(d->archivePath).constData(), logText(d->complaint).constData());
        Q_EMIT opened();
    });
    d->work->start();
}

ReportContent::State ReportContent::state() const
{
    return d->state;
}

QString ReportContent::complaint() const
{
    return d->complaint;
}

QString ReportContent::folder() const
{
    return d->folder ? d->folder->path() : QString();
}

QStringList ReportContent::files() const
{
    return d->files;
}

CPackedProblemReport &ReportContent::report()
{
    return d->report;
}

const CPackedProblemReport &ReportContent::report() const
{
    return d->report;
}

QByteArray ReportContent::documentOf(const CPackedProblemReport &report) const
{
    CPackedProblemReport written = report;
    // Sections are files of their own.
    written.appConfig.reset();
    written.vmDirectory.reset();
    written.netConfig.reset();
    written.currentVm.reset();
    written.advancedVmInfo.reset();
    written.guestOs.reset();
    written.hostInfo.reset();
    written.moreHostInfo.reset();
    written.hostStatistics.reset();
    written.clientInfo.reset();
    written.keyboardMouseProfiles.reset();
    if (d->isTakenOut) {
        for (CReportAttachment &attachment : written.attachments) {
            attachment.sourcePath
                = QString::fromUtf8(PersonalData::withoutTerms(attachment.sourcePath.toUtf8(), d->terms));
        }
        written.crashDump
            = QString::fromUtf8(PersonalData::withoutTerms(written.crashDump.toUtf8(), d->terms));
    }
    return written.write();
}

bool ReportContent::writeDocument(const CPackedProblemReport &report)
{
    const QString name = ReportSections::fileName(ReportSections::MainDocument);
    return d->folder && write(QDir(d->folder->path()).filePath(name), documentOf(report));
}

void ReportContent::takeOutPersonalData()
{
    if (d->state != Opened || !d->folder)
        return;
    d->state = TakingOut;
    d->terms = PersonalData::termsOfUser();
    const qint64 size = d->sizeOfFiles();
    const auto body = [folder = QDir(d->folder->path()), files = d->files,
                       terms = d->terms](const BackgroundWork::GoOn &goOn) {
        qint64 before = 0;
        bool isComplete = true;
        for (const QString &name : files) {
            const QString path = folder.filePath(name);
            const qint64 fileSize = QFileInfo(path).size();
            // A name in the bytes of a picture is chance.
            if (ReportSections::typeOfFile(name) != ReportSections::Screenshot)
                isComplete = PersonalData::takeOutOfFile(path, terms,
                                                         [&](qint64 bytes) { return goOn(before + bytes); })
                             && isComplete;
            before += fileSize;
        }
        return QVariant(isComplete);
    };
    d->work = std::make_unique<BackgroundWork>(body, this);
    connect(d->work.get(), &BackgroundWork::progress, this,
            [this, size](qint64 done) { Q_EMIT progress(int(qMin<qint64>(100, done * 100 / size))); });
    connect(d->work.get(), &BackgroundWork::finished, this, [this](const QVariant &result) {
        d->work.release()->deleteLater(); // another one may begin in a slot of what follows
        d->state = Opened;
        d->isTakenOut = true;
        if (!result.toBool())
            KOV_LOG(0, "(!)Error: names could not be taken out of every part of the problem report.");
        Q_EMIT takenOut(result.toBool());
    });
    d->work->start();
}

void ReportContent::removeFile(const QString &name)
{
    if (d->files.removeAll(name) > 0)
        QFile::remove(QDir(d->folder->path()).filePath(name));
}
