#include "programs/updater/install/Installation.h"

#include "programs/updater/base/ErrorLine.h"
#include "programs/updater/install/Installation_p.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>

namespace Name = InstallationNames;

namespace {

constexpr qint64 maximumRecordSize = 64 * 1024;
constexpr int maximumReasonLength = 200;

} // namespace

std::optional<QByteArray> Installation::Private::manifestIn(const Files::Handle &parent, const char *version)
{
    const Files::Handle folder = Files::openFolder(parent, version);
    return folder.isOpen() ? Files::read(folder, PackageManifest::fileName, PackageManifest::maximumTextSize)
                           : std::nullopt;
}

std::optional<PackageManifest> Installation::Private::parsedManifestIn(const Files::Handle &parent,
                                                                       const char *version)
{
    const std::optional<QByteArray> text = manifestIn(parent, version);
    PackageManifest manifest;
    if (!text || !PackageManifest::parse(*text, &manifest).isEmpty())
        return std::nullopt;
    return manifest;
}

QByteArray Installation::Private::identityOf(const Files::Handle &parent, const char *version)
{
    const std::optional<QByteArray> text = manifestIn(parent, version);
    return text ? QCryptographicHash::hash(*text, QCryptographicHash::Sha256).toHex() : QByteArray();
}

bool Installation::Private::isOwnAndPrivate(const Files::Handle &folder)
{
    const Files::Rights rights = Files::rightsOf(folder);
    return rights.isOwn && !rights.anyOtherMayWrite;
}

InstallResult Installation::Private::openPrivateFolder()
{
    own = Files::makeOwnFolder(root, Name::own);
    if (!own.isOpen())
        return Files::systemFault(
            QStringLiteral("the updater's folder in the installation cannot be opened"));
    if (!isOwnAndPrivate(own) || !Files::closeToOthers(own))
        return {ExitCode::InstallFailed,
                QStringLiteral("the updater's folder in the installation can be written by others")};
    return InstallResult();
}

InstallResult Installation::Private::takeLock()
{
    const InstallResult result = Files::lock(own, Name::lock, &lock);
    isLocked = result.ok();
    return result;
}

InstallResult Installation::Private::readInstalled(const QString &rootPath)
{
    const std::optional<QByteArray> text = manifestIn(root, Name::current);
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
        // Where a change of versions that was interrupted leaves the program.
        const bool isVersion = folder.dirName() == QLatin1String(Name::current)
                               || folder.dirName() == QLatin1String(Name::previous);
        if (isVersion && QFileInfo(QDir(root).filePath(QLatin1String(Name::own))).isDir())
            return root;
    } while (folder.cdUp());
    return QString();
}

std::optional<PackageManifest> Installation::installedManifest(const QString &root)
{
    const Files::Handle folder = Files::openPath(root);
    return folder.isOpen() ? Private::parsedManifestIn(folder, Name::current) : std::nullopt;
}

QVector<RejectedVersion> Installation::rejectedVersions(const QString &root)
{
    const Files::Handle folder = Files::openPath(root);
    const Files::Handle own = folder.isOpen() ? Files::openFolder(folder, Name::own) : Files::Handle();
    QVector<RejectedVersion> rejected;
    const std::optional<QByteArray> record
        = own.isOpen() ? Files::read(own, Name::rejected, maximumRecordSize) : std::nullopt;
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
    present.root = Files::openPath(root);
    present.rootPath = root;
    if (present.root.isOpen())
        present.own = Files::openFolder(present.root, Name::own);
    if (!present.own.isOpen() || !Private::isOwnAndPrivate(present.own) || !present.takeLock().ok())
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
    if (d->isLocked && !Files::exists(d->own, Name::journal))
        d->clear();
}

InstallResult Installation::open(const QString &root)
{
    d->root = Files::openPath(root);
    d->rootPath = root;
    const bool isInstallation
        = d->root.isOpen()
          && (Private::manifestIn(d->root, Name::current) || Files::exists(d->root, Name::own));
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
    if (!Files::exists(d->own, name))
        return InstallResult();
    bool isNumber = false;
    *counter = Files::read(d->own, name, maximumRecordSize)
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
    const std::optional<quint64> free = Files::freeBytes(d->own);
    if (!free || *free >= quint64(needed))
        return InstallResult();
    return {ExitCode::NotEnoughSpace,
            QStringLiteral("there is not enough space on the disk: %1 MB are needed, %2 MB are free")
                .arg((needed + 999999) / 1000000)
                .arg(*free / 1000000)};
}

InstallResult Installation::makePrivateFile(PackageFile *file)
{
    const Files::Handle copy = Files::createNameless(d->own, Name::package);
    if (!copy.isOpen())
        return Files::systemFault(QStringLiteral("the package cannot be copied"));
    file->adopt(copy);
    return InstallResult();
}

InstallResult Installation::makeStaging()
{
    return d->staging.make(d->own, d->root);
}

PackageTarget &Installation::staging()
{
    return d->staging;
}

InstallResult Installation::commit(const QByteArray &key, quint64 counter)
{
    const Journal journal{Private::identityOf(d->root, Name::current),
                          Private::identityOf(d->own, Staging::name), key, counter, QString()};
    return d->change(journal, &Private::swapIn);
}

InstallResult Installation::stepBack(const QString &reason)
{
    const std::optional<PackageManifest> before = Private::parsedManifestIn(d->root, Name::previous);
    if (!before || before->product != d->manifest.product || before->version >= d->manifest.version)
        return {ExitCode::NothingBefore,
                QStringLiteral("there is no older version in %1/previous").arg(d->rootPath)};
    const QString line = reason.simplified().left(maximumReasonLength);
    const Journal journal{Private::identityOf(d->root, Name::current),
                          Private::identityOf(d->root, Name::previous), QByteArray(), 0,
                          line.isEmpty() ? QStringLiteral("no reason was given") : line};
    const InstallResult result = d->change(journal, &Private::swapBack);
    return result.ok() ? d->readInstalled(d->rootPath) : result;
}

bool Installation::countStart()
{
    // Whatever program was counted keeps the record locked as long as it runs.
    const Files::Handle trial = Files::lockForAppending(d->own, Name::trial);
    const QByteArray record = Files::read(d->own, Name::trial, maximumRecordSize).value_or(QByteArray());
    const QByteArray identity = Private::identityOf(d->root, Name::current) + '\n';
    if (!trial.isOpen() || !record.startsWith(identity))
        return false;
    if (record.size() - identity.size() >= mostFailedStarts) {
        const QString reason = QStringLiteral("it did not come up %1 times in a row").arg(mostFailedStarts);
        return stepBack(reason).ok();
    }
    if (Files::write(trial, ".", 1).ok() && Files::sync(trial).ok())
        Files::keepForSuccessor(trial);
    return false;
}

InstallResult Installation::confirmVersion(const QString &root)
{
    const Files::Handle folder = Files::openPath(root);
    const Files::Handle own = folder.isOpen() ? Files::openFolder(folder, Name::own) : Files::Handle();
    // Whoever read the journal later would put the version on trial once more.
    if (own.isOpen() && Files::exists(own, Name::journal))
        (void)recover(root);
    const std::optional<QByteArray> record
        = own.isOpen() ? Files::read(own, Name::trial, maximumRecordSize) : std::nullopt;
    if (!record || !record->startsWith(Private::identityOf(folder, Name::current) + '\n'))
        return InstallResult();
    const InstallResult result = Files::remove(own, Name::trial);
    return result.ok() ? Files::sync(own) : result;
}
