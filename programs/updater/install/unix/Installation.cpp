#include "programs/updater/install/Installation.h"

#include "programs/updater/base/ErrorLine.h"
#include "programs/updater/install/unix/Installation_p.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace Name = InstallationNames;

namespace {

constexpr qint64 maximumRecordSize = 64 * 1024;
constexpr int maximumReasonLength = 200;

Descriptor openRoot(const QString &root)
{
    return Descriptor(::open(QFile::encodeName(root).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

} // namespace

std::optional<QByteArray> Installation::Private::manifestIn(int parent, const char *version)
{
    const Descriptor folder = Files::openFolder(parent, version);
    return folder.isOpen()
               ? Files::read(folder.number(), PackageManifest::fileName, PackageManifest::maximumTextSize)
               : std::nullopt;
}

std::optional<PackageManifest> Installation::Private::parsedManifestIn(int parent, const char *version)
{
    const std::optional<QByteArray> text = manifestIn(parent, version);
    PackageManifest manifest;
    if (!text || !PackageManifest::parse(*text, &manifest).isEmpty())
        return std::nullopt;
    return manifest;
}

QByteArray Installation::Private::identityOf(int parent, const char *version)
{
    const std::optional<QByteArray> text = manifestIn(parent, version);
    return text ? QCryptographicHash::hash(*text, QCryptographicHash::Sha256).toHex() : QByteArray();
}

bool Installation::Private::isOwnAndPrivate(int folder)
{
    struct stat status = {};
    return fstat(folder, &status) == 0 && status.st_uid == geteuid()
           && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

InstallResult Installation::Private::openPrivateFolder()
{
    if (mkdirat(root.number(), Name::own, 0700) != 0 && errno != EEXIST)
        return Files::systemFault(QStringLiteral("the folder of the installation cannot be written"));
    own = Files::openFolder(root.number(), Name::own);
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
    lock = Descriptor(openat(own.number(), Name::lock, O_RDWR | O_CREAT | Files::safely, mode_t(0600)));
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

InstallResult Installation::Private::readInstalled(const QString &rootPath)
{
    const std::optional<QByteArray> text = manifestIn(root.number(), Name::current);
    const QString fault = text ? PackageManifest::parse(*text, &manifest)
                               : QStringLiteral("current/manifest.json cannot be read");
    return fault.isEmpty()
               ? InstallResult()
               : InstallResult{
                   ExitCode::NoInstallation,
                   QStringLiteral("there is no usable installation in %1: %2").arg(rootPath, fault)};
}

QString Installation::find(const QString &programFolder)
{
    QDir folder(QDir(programFolder).canonicalPath());
    do {
        const QString root = QFileInfo(folder.path()).path();
        if (folder.dirName() == QLatin1String(Name::current)
            && folder.exists(QLatin1String(PackageManifest::fileName)))
            return root;
        // Where a swap that was interrupted between two renames leaves the program.
        if (folder.dirName() == QLatin1String(Name::previous)
            && QFileInfo(QDir(root).filePath(QLatin1String(Name::own))).isDir())
            return root;
    } while (folder.cdUp());
    return QString();
}

std::optional<PackageManifest> Installation::installedManifest(const QString &root)
{
    const Descriptor folder = openRoot(root);
    return folder.isOpen() ? Private::parsedManifestIn(folder.number(), Name::current) : std::nullopt;
}

QVector<RejectedVersion> Installation::rejectedVersions(const QString &root)
{
    const Descriptor own = Files::openFolder(openRoot(root).number(), Name::own);
    QVector<RejectedVersion> rejected;
    const std::optional<QByteArray> record
        = own.isOpen() ? Files::read(own.number(), Name::rejected, maximumRecordSize) : std::nullopt;
    for (const QByteArray &line : record.value_or(QByteArray()).split('\n')) {
        const QString text = QString::fromUtf8(line);
        RejectedVersion version{{}, text.section(QLatin1Char(' '), 1)};
        if (parseVersion(text.section(QLatin1Char(' '), 0, 0), &version.version))
            rejected.append(version);
    }
    return rejected;
}

InstallResult Installation::recover(const QString &root)
{
    Private present;
    present.root = openRoot(root);
    present.rootPath = root;
    present.own = Files::openFolder(present.root.number(), Name::own);
    if (!present.own.isOpen() || !Private::isOwnAndPrivate(present.own.number()) || !present.takeLock().ok())
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
    if (d->isLocked && !Files::exists(d->own.number(), Name::journal))
        d->clear();
}

InstallResult Installation::open(const QString &root)
{
    d->root = openRoot(root);
    d->rootPath = root;
    const bool isInstallation = d->root.isOpen()
                                && (Private::manifestIn(d->root.number(), Name::current)
                                    || Files::exists(d->root.number(), Name::own));
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

InstallResult Installation::readCounter(const QByteArray &key, quint64 *counter) const
{
    *counter = 0;
    const QByteArray name = Name::counter + key;
    if (!Files::exists(d->own.number(), name.constData()))
        return InstallResult();
    bool isNumber = false;
    *counter = Files::read(d->own.number(), name.constData(), maximumRecordSize)
                   .value_or(QByteArray())
                   .trimmed()
                   .toULongLong(&isNumber);
    if (isNumber)
        return InstallResult();
    return {ExitCode::InstallFailed, QStringLiteral("%1/.updater/%2 is damaged: remove it to begin anew")
                                         .arg(d->rootPath, QLatin1String(name))};
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
        openat(d->own.number(), Name::package, O_RDWR | O_CREAT | O_EXCL | Files::safely, mode_t(0600)));
    if (!descriptor.isOpen() || unlinkat(d->own.number(), Name::package, 0) != 0)
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

InstallResult Installation::commit(const QByteArray &key, quint64 counter)
{
    const Journal journal{Private::identityOf(d->root.number(), Name::current),
                          Private::identityOf(d->own.number(), Staging::name), key, counter, QString()};
    return d->change(journal, &Private::swapIn);
}

InstallResult Installation::stepBack(const QString &reason)
{
    const std::optional<PackageManifest> before = Private::parsedManifestIn(d->root.number(), Name::previous);
    if (!before || before->product != d->manifest.product || before->version >= d->manifest.version)
        return {ExitCode::NothingBefore,
                QStringLiteral("there is no older version in %1/previous").arg(d->rootPath)};
    const QString line = reason.simplified().left(maximumReasonLength);
    const Journal journal{Private::identityOf(d->root.number(), Name::current),
                          Private::identityOf(d->root.number(), Name::previous), QByteArray(), 0,
                          line.isEmpty() ? QStringLiteral("no reason was given") : line};
    const InstallResult result = d->change(journal, &Private::swapBack);
    return result.ok() ? d->readInstalled(d->rootPath) : result;
}

bool Installation::countStart()
{
    Descriptor trial(openat(d->own.number(), Name::trial, O_RDWR | O_APPEND | O_NOFOLLOW | O_NONBLOCK));
    const QByteArray record
        = Files::read(d->own.number(), Name::trial, maximumRecordSize).value_or(QByteArray());
    const QByteArray identity = Private::identityOf(d->root.number(), Name::current) + '\n';
    // Whatever program was counted keeps the record locked as long as it runs.
    if (!trial.isOpen() || !record.startsWith(identity) || flock(trial.number(), LOCK_EX | LOCK_NB) != 0)
        return false;
    if (record.size() - identity.size() >= mostFailedStarts) {
        const QString reason = QStringLiteral("it did not come up %1 times in a row").arg(mostFailedStarts);
        return stepBack(reason).ok();
    }
    if (Files::writeAll(trial.number(), ".", 1).ok() && Files::sync(trial.number()).ok()
        && flock(trial.number(), LOCK_SH) == 0)
        // Left open on purpose, for the program that takes this process's place.
        (void)trial.release();
    return false;
}

InstallResult Installation::confirmVersion(const QString &root)
{
    const Descriptor folder = openRoot(root);
    const Descriptor own = Files::openFolder(folder.number(), Name::own);
    // Whoever read the journal later would put the version on trial once more.
    if (own.isOpen() && Files::exists(own.number(), Name::journal))
        (void)recover(root);
    const std::optional<QByteArray> record
        = own.isOpen() ? Files::read(own.number(), Name::trial, maximumRecordSize) : std::nullopt;
    if (!record || !record->startsWith(Private::identityOf(folder.number(), Name::current) + '\n'))
        return InstallResult();
    const InstallResult result = Files::remove(own.number(), Name::trial);
    return result.ok() ? Files::sync(own.number()) : result;
}
