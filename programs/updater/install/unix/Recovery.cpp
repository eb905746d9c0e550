#include "programs/updater/base/ErrorLine.h"
#include "programs/updater/install/unix/Installation_p.h"

#include <QCryptographicHash>
#include <cerrno>

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

bool Installation::Private::move(int fromFolder, const char *from, int toFolder, const char *to)
{
    return Files::move(fromFolder, from, toFolder, to);
}

bool Installation::Private::exchange(int folder, const char *name, int otherFolder, const char *otherName)
{
    if (hooks.canExchange)
        return Files::exchange(folder, name, otherFolder, otherName);
    errno = EINVAL;
    return false;
}

/// From errno, after a move that failed.
InstallResult Installation::Private::moveFault(const QString &what) const
{
    const int error = errno;
    for (const char *const name : {Name::current, Name::previous}) {
        if (error == EBUSY && Files::isMountPoint(root.number(), name))
            return {ExitCode::InstallFailed,
                    QStringLiteral("%1: a volume is mounted on %2/%3, unmount it first")
                        .arg(what, rootPath, QLatin1String(name))};
    }
    errno = error;
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
    const InstallResult result = Files::sync(root.number());
    return result.ok() ? Files::sync(own.number()) : result;
}

InstallResult Installation::Private::replaceRecord(const QByteArray &name, const QByteArray &text)
{
    InstallResult result = Files::discard(own.number(), Name::draft);
    if (result.ok())
        result = Files::writeNew(own.number(), Name::draft, text.constData(), text.size());
    if (result.ok())
        result = moved(move(own.number(), Name::draft, own.number(), name.constData()));
    return result.ok() ? Files::sync(own.number()) : result;
}

InstallResult Installation::Private::forgetJournal()
{
    InstallResult result = sync();
    if (result.ok())
        result = Files::remove(own.number(), Name::journal);
    return result.ok() ? Files::sync(own.number()) : result;
}

void Installation::Private::clear()
{
    // What stays behind is private, and the next run tries again.
    Files::removeRubbish(own.number());
    for (const char *const name : {Staging::name, Name::obsolete, Name::draft, Name::package})
        (void)Files::discard(own.number(), name);
}

InstallResult Installation::Private::recover()
{
    const std::optional<QByteArray> text = Files::read(own.number(), Name::journal, maximumRecordSize);
    if (text) {
        const std::optional<Journal> journal = Journal::parse(*text);
        const QByteArray current = identityOf(root.number(), Name::current);
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
        if (identityOf(root.number(), Name::current) != journal.after)
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
    const bool isExchanged = exchange(own.number(), Staging::name, root.number(), Name::current);
    if (!isExchanged) {
        if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
            return moved(false);
        bool ok = !Files::exists(root.number(), Name::previous)
                  || move(root.number(), Name::previous, own.number(), Name::obsolete);
        ok = ok && move(root.number(), Name::current, root.number(), Name::previous);
        ok = ok && move(own.number(), Staging::name, root.number(), Name::current);
        if (!ok)
            return moved(false);
    }
    const InstallResult result = sync();
    // What was moved in between is put back when the journal is read.
    if (!result.ok())
        (void)(isExchanged ? exchange(own.number(), Staging::name, root.number(), Name::current)
                           : move(root.number(), Name::current, own.number(), Staging::name));
    return result;
}

InstallResult Installation::Private::swapBack()
{
    const bool isExchanged = exchange(root.number(), Name::previous, root.number(), Name::current);
    if (!isExchanged) {
        if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
            return moved(false);
        const bool ok = move(root.number(), Name::current, own.number(), Staging::name)
                        && move(root.number(), Name::previous, root.number(), Name::current);
        if (!ok)
            return moved(false);
    }
    // Not undone when the disk refuses: the version before is the one that is trusted to work.
    return sync();
}

InstallResult Installation::Private::finish(const Journal &journal)
{
    // After an exchange the old version lies where the new one was put together.
    if (Files::exists(own.number(), Staging::name))
        keepOldVersion();
    const InstallResult result = keepRecords(journal);
    return result.ok() ? forgetJournal() : result;
}

void Installation::Private::keepOldVersion()
{
    bool ok = true;
    if (Files::exists(root.number(), Name::previous))
        ok = Files::discard(own.number(), Name::obsolete).ok()
             && move(root.number(), Name::previous, own.number(), Name::obsolete);
    if (ok && move(own.number(), Staging::name, root.number(), Name::previous))
        return;
    // A folder that cannot be moved, such as one that a volume is mounted on, must not hold up what comes
    // after it.
    printError(moveFault(QStringLiteral("the version before cannot be kept")).fault);
    (void)Files::discard(own.number(), Staging::name);
}

InstallResult Installation::Private::keepRecords(const Journal &journal)
{
    const std::optional<PackageManifest> installed = parsedManifestIn(root.number(), Name::current);
    if (journal.isStepBack()) {
        const std::optional<PackageManifest> before = parsedManifestIn(root.number(), Name::previous);
        const InstallResult result = before && installed && before->version > installed->version
                                         ? reject(before->version, journal.reason)
                                         : InstallResult();
        return result.ok() ? Files::remove(own.number(), Name::trial) : result;
    }
    InstallResult result
        = replaceRecord(Name::counter + journal.key, QByteArray::number(journal.counter) + '\n');
    if (result.ok())
        result = replaceRecord(Name::trial, journal.after + '\n');
    return result;
}

InstallResult Installation::Private::reject(const VersionNumber &version, const QString &reason)
{
    QByteArrayList lines = Files::read(own.number(), Name::rejected, maximumRecordSize)
                               .value_or(QByteArray())
                               .trimmed()
                               .split('\n');
    const QByteArray name = versionText(version).toLatin1() + ' ';
    const auto isTheSame
        = [&name](const QByteArray &line) { return line.isEmpty() || line.startsWith(name); };
    lines.erase(std::remove_if(lines.begin(), lines.end(), isTheSame), lines.end());
    lines.append(name + reason.toUtf8());
    return replaceRecord(Name::rejected, lines.mid(qMax(0, lines.size() - mostRejected)).join('\n') + '\n');
}

InstallResult Installation::Private::restoreOld(const Journal &journal)
{
    if (!Files::exists(root.number(), Name::current)) {
        const QByteArray previous = identityOf(root.number(), Name::previous);
        const bool isSteppingBack = journal.isStepBack() && previous == journal.after;
        if (previous != journal.before && !isSteppingBack)
            return failed("an interrupted installation cannot be undone: the version before is missing");
        const InstallResult result = moved(move(root.number(), Name::previous, root.number(), Name::current));
        if (!result.ok() || isSteppingBack)
            return result.ok() ? finish(journal) : result;
    }
    const bool wasSetAside
        = !Files::exists(root.number(), Name::previous) && Files::exists(own.number(), Name::obsolete);
    const InstallResult result
        = wasSetAside ? moved(move(own.number(), Name::obsolete, root.number(), Name::previous))
                      : InstallResult();
    return result.ok() ? forgetJournal() : result;
}
