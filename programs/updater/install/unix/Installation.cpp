#include "programs/updater/install/Installation.h"

#include "programs/updater/base/unix/Files.h"
#include "programs/updater/install/unix/Staging.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <cerrno>
#include <cstdio>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace {

constexpr char currentName[] = "current";
constexpr char previousName[] = "previous";
constexpr char privateName[] = ".updater";
// Inside the private folder.
constexpr char lockName[] = "lock";
constexpr char journalName[] = "journal";
constexpr char counterName[] = "counter";
constexpr char draftName[] = "draft";
constexpr char packageName[] = "package";
constexpr char obsoleteName[] = "obsolete";

constexpr qint64 maximumRecordSize = 1024;

/// Written before the swap, removed after it: which version is to take whose place.
struct Journal
{
    /// SHA-256 of both manifests, in hexadecimal digits.
    QByteArray before;
    QByteArray after;
    quint64 counter = 0;

    QByteArray text() const
    {
        return "before " + before + "\nafter " + after + "\ncounter " + QByteArray::number(counter) + '\n';
    }

    static std::optional<Journal> parse(const QByteArray &text)
    {
        static const QRegularExpression pattern(
            QStringLiteral("\\Abefore ([0-9a-f]{64})\nafter ([0-9a-f]{64})\ncounter ([0-9]{1,20})\n\\z"));
        const QRegularExpressionMatch match = pattern.match(QString::fromLatin1(text));
        if (!match.hasMatch())
            return std::nullopt;
        return Journal{match.captured(1).toLatin1(), match.captured(2).toLatin1(),
                       match.captured(3).toULongLong()};
    }
};

/// Nothing when there is none.
std::optional<QByteArray> manifestIn(int parent, const char *version)
{
    const Descriptor folder = Files::openFolder(parent, version);
    return folder.isOpen()
               ? Files::read(folder.number(), PackageManifest::fileName, PackageManifest::maximumTextSize)
               : std::nullopt;
}

/// Empty when there is no such version.
QByteArray identityOf(int parent, const char *version)
{
    const std::optional<QByteArray> text = manifestIn(parent, version);
    return text ? QCryptographicHash::hash(*text, QCryptographicHash::Sha256).toHex() : QByteArray();
}

Descriptor openRoot(const QString &root)
{
    return Descriptor(::open(QFile::encodeName(root).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

bool isOwnAndPrivate(int folder)
{
    struct stat status = {};
    return fstat(folder, &status) == 0 && status.st_uid == geteuid()
           && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

} // namespace

class Installation::Private
{
public:
    InstallResult openPrivateFolder();
    InstallResult takeLock();
    InstallResult recover();
    InstallResult readInstalled(const QString &rootPath);
    InstallResult swap();
    InstallResult keepNew(const Journal &journal);
    void clear();

    InstallResult undoSwap(bool wasExchanged);
    InstallResult restoreOld(const Journal &journal);
    InstallResult forgetJournal();
    InstallResult replaceRecord(const char *name, const QByteArray &text);
    InstallResult syncFolders() const;
    bool move(int fromFolder, const char *from, int toFolder, const char *to);
    bool exchange(int folder, const char *name, int otherFolder, const char *otherName);
    InstallResult moved(bool ok) const;

    Hooks hooks;
    Descriptor root;
    Descriptor own;
    Descriptor lock;
    bool isLocked = false;
    PackageManifest manifest;
    quint64 counter = 0;
    Staging staging;
};

InstallResult Installation::Private::openPrivateFolder()
{
    if (mkdirat(root.number(), privateName, 0700) != 0 && errno != EEXIST)
        return Files::systemFault(QStringLiteral("the folder of the installation cannot be written"));
    own = Files::openFolder(root.number(), privateName);
    if (!own.isOpen())
        return Files::systemFault(
            QStringLiteral("the updater's folder in the installation cannot be opened"));
    if (!isOwnAndPrivate(own.number()) || fchmod(own.number(), 0700) != 0)
        return {ExitCode::InstallFailed,
                QStringLiteral("the updater's folder in the installation can be written by others")};
    return InstallResult();
}

InstallResult Installation::Private::takeLock()
{
    lock = Descriptor(openat(own.number(), lockName, O_RDWR | O_CREAT | Files::safely, mode_t(0600)));
    if (!lock.isOpen())
        return Files::systemFault(QStringLiteral("the installation cannot be locked"));
    if (flock(lock.number(), LOCK_EX | LOCK_NB) == 0) {
        isLocked = true;
        return InstallResult();
    }
    if (errno == EWOULDBLOCK)
        return {ExitCode::InstallBusy, QStringLiteral("another installation is under way")};
    return Files::systemFault(QStringLiteral("the installation cannot be locked"));
}

bool Installation::Private::move(int fromFolder, const char *from, int toFolder, const char *to)
{
    if (hooks.beforeMove)
        hooks.beforeMove();
    return renameat(fromFolder, from, toFolder, to) == 0;
}

bool Installation::Private::exchange(int folder, const char *name, int otherFolder, const char *otherName)
{
    if (hooks.beforeMove)
        hooks.beforeMove();
    if (hooks.canExchange)
        return renameat2(folder, name, otherFolder, otherName, RENAME_EXCHANGE) == 0;
    errno = EINVAL;
    return false;
}

InstallResult Installation::Private::moved(bool ok) const
{
    return ok ? InstallResult() : Files::systemFault(QStringLiteral("a version cannot be moved"));
}

InstallResult Installation::Private::syncFolders() const
{
    const InstallResult result = Files::sync(root.number());
    return result.ok() ? Files::sync(own.number()) : result;
}

InstallResult Installation::Private::replaceRecord(const char *name, const QByteArray &text)
{
    InstallResult result = Files::remove(own.number(), draftName);
    if (result.ok())
        result = Files::writeNew(own.number(), draftName, text.constData(), text.size());
    if (result.ok())
        result = moved(move(own.number(), draftName, own.number(), name));
    return result.ok() ? Files::sync(own.number()) : result;
}

InstallResult Installation::Private::forgetJournal()
{
    InstallResult result = syncFolders();
    if (result.ok())
        result = Files::remove(own.number(), journalName);
    return result.ok() ? Files::sync(own.number()) : result;
}

InstallResult Installation::Private::recover()
{
    const std::optional<QByteArray> text = Files::read(own.number(), journalName, maximumRecordSize);
    if (text) {
        const std::optional<Journal> journal = Journal::parse(*text);
        const QByteArray current = identityOf(root.number(), currentName);
        InstallResult result;
        if (journal)
            result = current == journal->after ? keepNew(*journal) : restoreOld(*journal);
        else if (!current.isEmpty())
            result = forgetJournal();
        else
            result = {ExitCode::InstallFailed, QStringLiteral("the journal of an interrupted installation is "
                                                              "damaged")};
        if (!result.ok())
            return result;
    }
    clear();
    return InstallResult();
}

InstallResult Installation::Private::keepNew(const Journal &journal)
{
    InstallResult result;
    // After an exchange the old version lies where the new one was put together.
    if (Files::exists(own.number(), Staging::name)) {
        if (Files::exists(root.number(), previousName)) {
            result = Files::remove(own.number(), obsoleteName);
            if (result.ok())
                result = moved(move(root.number(), previousName, own.number(), obsoleteName));
        }
        if (result.ok())
            result = moved(move(own.number(), Staging::name, root.number(), previousName));
    }
    if (result.ok())
        result = replaceRecord(counterName, QByteArray::number(journal.counter) + '\n');
    return result.ok() ? forgetJournal() : result;
}

InstallResult Installation::Private::restoreOld(const Journal &journal)
{
    InstallResult result;
    if (!Files::exists(root.number(), currentName)) {
        if (identityOf(root.number(), previousName) != journal.before)
            return {ExitCode::InstallFailed,
                    QStringLiteral(
                        "an interrupted installation cannot be undone: the version before is missing")};
        result = moved(move(root.number(), previousName, root.number(), currentName));
    }
    const bool wasSetAside
        = !Files::exists(root.number(), previousName) && Files::exists(own.number(), obsoleteName);
    if (result.ok() && wasSetAside)
        result = moved(move(own.number(), obsoleteName, root.number(), previousName));
    return result.ok() ? forgetJournal() : result;
}

void Installation::Private::clear()
{
    // What stays behind is private, and the next run tries again.
    for (const char *const name : {Staging::name, obsoleteName, draftName, packageName})
        (void)Files::remove(own.number(), name);
}

InstallResult Installation::Private::readInstalled(const QString &rootPath)
{
    const std::optional<QByteArray> text = manifestIn(root.number(), currentName);
    const QString fault = text ? PackageManifest::parse(*text, &manifest)
                               : QStringLiteral("current/manifest.json cannot be read");
    if (!fault.isEmpty())
        return {ExitCode::NoInstallation,
                QStringLiteral("there is no usable installation in %1: %2").arg(rootPath, fault)};
    if (!Files::exists(own.number(), counterName))
        return InstallResult();
    bool isNumber = false;
    counter = Files::read(own.number(), counterName, maximumRecordSize)
                  .value_or(QByteArray())
                  .trimmed()
                  .toULongLong(&isNumber);
    if (!isNumber)
        return {ExitCode::InstallFailed, QStringLiteral("%1/.updater/counter is damaged").arg(rootPath)};
    return InstallResult();
}

InstallResult Installation::Private::swap()
{
    const bool isExchanged = exchange(own.number(), Staging::name, root.number(), currentName);
    if (!isExchanged) {
        if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
            return moved(false);
        bool ok = !Files::exists(root.number(), previousName)
                  || move(root.number(), previousName, own.number(), obsoleteName);
        ok = ok && move(root.number(), currentName, root.number(), previousName);
        ok = ok && move(own.number(), Staging::name, root.number(), currentName);
        if (!ok)
            return moved(false);
    }
    const InstallResult result = syncFolders();
    return result.ok() ? result : undoSwap(isExchanged);
}

InstallResult Installation::Private::undoSwap(bool wasExchanged)
{
    // What was moved in between is put back when the journal is read.
    (void)(wasExchanged ? exchange(own.number(), Staging::name, root.number(), currentName)
                        : move(root.number(), currentName, own.number(), Staging::name));
    return {ExitCode::InstallFailed, QStringLiteral("the disk did not take the new version")};
}

QString Installation::find(const QString &programFolder)
{
    QDir folder(QDir(programFolder).canonicalPath());
    do {
        const QString root = QFileInfo(folder.path()).path();
        if (folder.dirName() == QLatin1String(currentName)
            && folder.exists(QLatin1String(PackageManifest::fileName)))
            return root;
        // Where a swap that was interrupted between two renames leaves the program.
        if (folder.dirName() == QLatin1String(previousName)
            && QFileInfo(QDir(root).filePath(QLatin1String(privateName))).isDir())
            return root;
    } while (folder.cdUp());
    return QString();
}

std::optional<PackageManifest> Installation::installedManifest(const QString &root)
{
    const Descriptor folder = openRoot(root);
    const std::optional<QByteArray> text
        = folder.isOpen() ? manifestIn(folder.number(), currentName) : std::nullopt;
    PackageManifest manifest;
    if (!text || !PackageManifest::parse(*text, &manifest).isEmpty())
        return std::nullopt;
    return manifest;
}

InstallResult Installation::recover(const QString &root)
{
    Private present;
    present.root = openRoot(root);
    present.own = Files::openFolder(present.root.number(), privateName);
    if (!present.own.isOpen() || !isOwnAndPrivate(present.own.number()) || !present.takeLock().ok())
        return InstallResult();
    return present.recover();
}

Installation::Installation()
    : Installation(Hooks())
{ }

Installation::Installation(const Hooks &hooks)
    : d(new Private)
{
    d->hooks = hooks;
}

Installation::~Installation()
{
    if (d->isLocked && !Files::exists(d->own.number(), journalName))
        d->clear();
}

InstallResult Installation::open(const QString &root)
{
    d->root = openRoot(root);
    const bool isInstallation
        = d->root.isOpen()
          && (manifestIn(d->root.number(), currentName) || Files::exists(d->root.number(), privateName));
    if (!isInstallation)
        return {ExitCode::NoInstallation, QStringLiteral("there is no installation in %1").arg(root)};
    InstallResult result = d->openPrivateFolder();
    if (result.ok())
        result = d->takeLock();
    if (result.ok())
        result = d->recover();
    return result.ok() ? d->readInstalled(root) : result;
}

const PackageManifest &Installation::manifest() const
{
    return d->manifest;
}

quint64 Installation::counter() const
{
    return d->counter;
}

InstallResult Installation::checkSpace(qint64 needed) const
{
    struct statvfs status = {};
    if (fstatvfs(d->own.number(), &status) != 0 || status.f_blocks == 0)
        return InstallResult();
    const quint64 free = quint64(status.f_bavail) * status.f_frsize;
    if (free >= quint64(needed))
        return InstallResult();
    return {ExitCode::NotEnoughSpace,
            QStringLiteral("there is not enough space on the disk: %1 MB are needed, %2 MB are free")
                .arg((needed + 999999) / 1000000)
                .arg(free / 1000000)};
}

InstallResult Installation::makePrivateFile(PackageFile *file)
{
    Descriptor descriptor(
        openat(d->own.number(), packageName, O_RDWR | O_CREAT | O_EXCL | Files::safely, mode_t(0600)));
    if (!descriptor.isOpen() || unlinkat(d->own.number(), packageName, 0) != 0)
        return Files::systemFault(QStringLiteral("the package cannot be copied"));
    file->adopt(descriptor.release());
    return InstallResult();
}

InstallResult Installation::makeStaging()
{
    return d->staging.make(d->own.number());
}

PackageTarget &Installation::staging()
{
    return d->staging;
}

InstallResult Installation::commit(quint64 counter)
{
    const Journal journal{identityOf(d->root.number(), currentName),
                          identityOf(d->own.number(), Staging::name), counter};
    InstallResult result = d->replaceRecord(journalName, journal.text());
    if (result.ok())
        result = d->swap();
    if (!result.ok()) {
        (void)d->recover();
        return result;
    }
    // The new version is in its place; what is left to do, the next run can do as well.
    if (d->keepNew(journal).ok())
        d->clear();
    return result;
}
