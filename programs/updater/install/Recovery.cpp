#include "programs/updater/base/ErrorLine.h"
#include "programs/updater/install/Installation_p.h"

#include <QCryptographicHash>

namespace Name = InstallationNames;

namespace {

constexpr qint64 maximumRecordSize = 64 * 1024;
/// Versions that are remembered as rejected; older ones fall out.
constexpr int mostRejected = 16;

InstallResult failed(const char *fault)
{
    return {ExitCode::InstallFailed, QLatin1String(fault)};
}

} // namespace

const Files::Handle &Installation::Private::folderOf(const char *version) const
{
    const QLatin1String name(version);
    const bool isInUse = name == QLatin1String(Name::current) || name == QLatin1String(Name::previous);
    return isInUse ? root : own;
}

bool Installation::Private::move(const char *from, const char *to)
{
    if (hooks.canMoveFolders) {
        if (Files::move(folderOf(from), from, folderOf(to), to))
            return true;
        if (Files::lastFailure() != Files::Failure::InUse)
            return false;
    }
    // A program that runs in a folder keeps the folder in its place, but not its files.
    return moveOneByOne(from, to);
}

bool Installation::Private::moveOneByOne(const char *from, const char *to)
{
    if (!replaceRecord(Name::moving, QByteArray(from) + ' ' + to + '\n').ok())
        return false;
    if (continueMove(from, to))
        return true;
    // One file that stays keeps all of them.
    const int error = Files::lastError();
    (void)continueMove(to, from);
    Files::setLastError(error);
    return false;
}

bool Installation::Private::continueMove(const char *from, const char *to)
{
    {
        const Files::Handle source = Files::openFolderToEmpty(folderOf(from), from);
        if (source.isOpen() && Files::exists(source, PackageManifest::fileName)
            && !Files::move(source, PackageManifest::fileName, own, Name::movingManifest))
            return false;
    }
    if (!Files::moveFiles(folderOf(from), from, folderOf(to), to))
        return false;
    if (Files::exists(own, Name::movingManifest)) {
        Files::Handle target;
        if (!Files::makeFolder(folderOf(to), to, &target).ok() || !Files::sync(target).ok()
            || !Files::move(own, Name::movingManifest, target, PackageManifest::fileName))
            return false;
    }
    return Files::remove(own, Name::moving).ok() && Files::sync(own).ok();
}

InstallResult Installation::Private::endMove()
{
    const std::optional<QByteArray> record = Files::read(own, Name::moving, maximumRecordSize);
    if (!record)
        return InstallResult();
    const QByteArrayList words = record->trimmed().split(' ');
    const auto placeOf = [&words](int word) {
        for (const char *const place : {Name::current, Name::previous, Staging::name, Name::obsolete}) {
            if (words.value(word) == place)
                return place;
        }
        return static_cast<const char *>(nullptr);
    };
    const char *const from = placeOf(0);
    const char *const to = placeOf(1);
    if (!from || !to || from == to)
        return failed("the record of an interrupted installation is damaged");
    return moved(continueMove(from, to) || continueMove(to, from));
}

bool Installation::Private::exchange(const char *version, const char *other)
{
    return Files::exchange(folderOf(version), version, folderOf(other), other);
}

/// From the last error, after a move that failed.
InstallResult Installation::Private::moveFault(const QString &what) const
{
    const bool isMounted = Files::lastFailure() == Files::Failure::MountPoint;
    const int error = Files::lastError();
    for (const char *const name : {Name::current, Name::previous}) {
        if (isMounted && Files::isMountPoint(root, name))
            return {ExitCode::InstallFailed,
                    QStringLiteral("%1: a volume is mounted on %2/%3, unmount it first")
                        .arg(what, rootPath, QLatin1String(name))};
    }
    Files::setLastError(error);
    return Files::systemFault(what);
}

InstallResult Installation::Private::moved(bool ok) const
{
    return ok ? InstallResult() : moveFault(QStringLiteral("a version cannot be moved"));
}

InstallResult Installation::Private::sync() const
{
    if (hooks.canSync && !hooks.canSync())
        return failed("the disk did not take what was written");
    const InstallResult result = Files::sync(root);
    return result.ok() ? Files::sync(own) : result;
}

InstallResult Installation::Private::replaceRecord(const QByteArray &name, const QByteArray &text)
{
    InstallResult result = Files::discard(own, Name::draft);
    if (result.ok())
        result = Files::writeNew(own, Name::draft, text.constData(), text.size());
    if (result.ok())
        result = moved(Files::move(own, Name::draft, own, name));
    return result.ok() ? Files::sync(own) : result;
}

InstallResult Installation::Private::forgetJournal()
{
    InstallResult result = sync();
    if (result.ok())
        result = Files::remove(own, Name::journal);
    return result.ok() ? Files::sync(own) : result;
}

void Installation::Private::clear()
{
    staging.close();
    // What stays behind is private, and the next run tries again.
    Files::removeRubbish(own);
    for (const char *const name : {Staging::name, Name::obsolete, Name::draft, Name::package})
        (void)Files::discard(own, name);
}

InstallResult Installation::Private::recover()
{
    const InstallResult ended = endMove();
    if (!ended.ok())
        return ended;
    const std::optional<QByteArray> text = Files::read(own, Name::journal, maximumRecordSize);
    if (text) {
        const std::optional<Journal> journal = Journal::parse(*text);
        const QByteArray current = identityOf(root, Name::current);
        InstallResult result;
        if (journal)
            result = current == journal->after ? finish(*journal) : restoreOld(*journal);
        else if (!current.isEmpty())
            result = forgetJournal();
        else
            result = failed("the journal of an interrupted installation is damaged");
        if (!result.ok())
            return result;
    }
    clear();
    return InstallResult();
}

InstallResult Installation::Private::change(const Journal &journal, InstallResult (Private::*swap)())
{
    InstallResult result = replaceRecord(Name::journal, journal.text());
    if (result.ok())
        result = (this->*swap)();
    if (!result.ok()) {
        (void)recover();
        // What is told has to be what is there.
        if (identityOf(root, Name::current) != journal.after)
            return result;
        printError(QStringLiteral("%1; the version is in its place nevertheless").arg(result.fault));
        return InstallResult();
    }
    // The version is in its place; what is left to do, the next run can do as well.
    if (finish(journal).ok())
        clear();
    return result;
}

InstallResult Installation::Private::swapIn()
{
    const bool isExchanged = hooks.canExchange && exchange(Staging::name, Name::current);
    if (!isExchanged) {
        if (hooks.canExchange && Files::lastFailure() != Files::Failure::Unsupported)
            return moved(false);
        bool ok = !Files::holdsFiles(root, Name::previous) || move(Name::previous, Name::obsolete);
        ok = ok && move(Name::current, Name::previous);
        ok = ok && move(Staging::name, Name::current);
        if (!ok)
            return moved(false);
    }
    const InstallResult result = sync();
    // What was moved in between is put back when the journal is read.
    if (!result.ok())
        (void)(isExchanged ? exchange(Staging::name, Name::current) : move(Name::current, Staging::name));
    return result;
}

InstallResult Installation::Private::swapBack()
{
    const bool isExchanged = hooks.canExchange && exchange(Name::previous, Name::current);
    if (!isExchanged) {
        if (hooks.canExchange && Files::lastFailure() != Files::Failure::Unsupported)
            return moved(false);
        const bool ok = move(Name::current, Staging::name) && move(Name::previous, Name::current);
        if (!ok)
            return moved(false);
    }
    // Not undone when the disk refuses: the version before is the one that is trusted to work.
    return sync();
}

InstallResult Installation::Private::finish(const Journal &journal)
{
    // After an exchange the old version lies where the new one was put together.
    if (Files::holdsFiles(own, Staging::name))
        keepOldVersion();
    const InstallResult result = keepRecords(journal);
    return result.ok() ? forgetJournal() : result;
}

void Installation::Private::keepOldVersion()
{
    bool ok = true;
    if (Files::holdsFiles(root, Name::previous))
        ok = Files::discard(own, Name::obsolete).ok() && move(Name::previous, Name::obsolete);
    if (ok && move(Staging::name, Name::previous))
        return;
    // A folder that cannot be moved, such as one that a volume is mounted on, must not hold up what comes
    // after it.
    printError(moveFault(QStringLiteral("the version before cannot be kept")).fault);
    (void)Files::discard(own, Staging::name);
}

InstallResult Installation::Private::keepRecords(const Journal &journal)
{
    const std::optional<PackageManifest> installed = parsedManifestIn(root, Name::current);
    if (journal.isStepBack()) {
        const std::optional<PackageManifest> before = parsedManifestIn(root, Name::previous);
        const InstallResult result = before && installed && before->version > installed->version
                                         ? reject(before->version, journal.reason)
                                         : InstallResult();
        return result.ok() ? Files::remove(own, Name::trial) : result;
    }
    InstallResult result
        = replaceRecord(Name::counter + journal.key, QByteArray::number(journal.counter) + '\n');
    if (result.ok())
        result = replaceRecord(Name::trial, journal.after + '\n');
    return result;
}

InstallResult Installation::Private::reject(const VersionNumber &version, const QString &reason)
{
    QByteArrayList lines
        = Files::read(own, Name::rejected, maximumRecordSize).value_or(QByteArray()).trimmed().split('\n');
    const QByteArray name = versionText(version).toLatin1() + ' ';
    const auto isTheSame
        = [&name](const QByteArray &line) { return line.isEmpty() || line.startsWith(name); };
    lines.erase(std::remove_if(lines.begin(), lines.end(), isTheSame), lines.end());
    lines.append(name + reason.toUtf8());
    return replaceRecord(Name::rejected, lines.mid(qMax(0, lines.size() - mostRejected)).join('\n') + '\n');
}

InstallResult Installation::Private::restoreOld(const Journal &journal)
{
    if (!Files::holdsFiles(root, Name::current)) {
        const QByteArray previous = identityOf(root, Name::previous);
        const bool isSteppingBack = journal.isStepBack() && previous == journal.after;
        if (previous != journal.before && !isSteppingBack)
            return failed("an interrupted installation cannot be undone: the version before is missing");
        const InstallResult result = moved(move(Name::previous, Name::current));
        if (!result.ok() || isSteppingBack)
            return result.ok() ? finish(journal) : result;
    }
    const bool wasSetAside
        = !Files::holdsFiles(root, Name::previous) && Files::holdsFiles(own, Name::obsolete);
    const InstallResult result = wasSetAside ? moved(move(Name::obsolete, Name::previous)) : InstallResult();
    return result.ok() ? forgetJournal() : result;
}
