#include "programs/updater/base/Files.h"

#include "programs/updater/base/ErrorLine.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

namespace {

constexpr char rubbishPrefix[] = "rubbish-";

/// A name that is not taken, for what cannot be removed.
/// @param first  the first number that is tried
QByteArray freshName(const Files::Handle &folder, int first = 1)
{
    for (int number = first;; ++number) {
        const QByteArray name = rubbishPrefix + QByteArray::number(number);
        if (!Files::exists(folder, name))
            return name;
    }
}

/// Empties and removes one folder. The folders in it are moved out beside it first, so that the depth of a
/// tree costs neither handles nor stack.
/// @param others  receives their new names
bool removeFolder(const Files::Handle &parent, const QByteArray &name, QByteArrayList *others)
{
    int error = 0;
    {
        const Files::Handle folder = Files::openFolderToEmpty(parent, name);
        if (!folder.isOpen() && Files::lastFailure() == Files::Failure::MountPoint)
            return false;
        const QByteArrayList inside = folder.isOpen() ? Files::names(folder) : QByteArrayList();
        for (const QByteArray &inner : inside) {
            if (Files::unlink(folder, inner) || Files::removeEmptyFolder(folder, inner))
                continue;
            error = Files::lastError();
            const bool isFull = Files::lastFailure() == Files::Failure::NotEmpty;
            const QByteArray fresh = freshName(parent, others->size() + 1);
            if (isFull && Files::move(folder, inner, parent, fresh)) {
                others->append(fresh);
                error = 0;
            }
        }
    }
    const bool isRemoved = Files::removeEmptyFolder(parent, name);
    if (error != 0)
        Files::setLastError(error);
    return isRemoved;
}

QString lastReason()
{
    return qt_error_string(Files::lastError());
}

/// The folder that a file lies in, and its name there.
struct Place
{
    explicit Place(const QString &path)
        : folder(Files::openPath(QFileInfo(path).absolutePath()))
        , name(Files::encoded(QFileInfo(path).fileName()))
    { }

    Files::Handle folder;
    QByteArray name;
};

} // namespace

bool Files::holdsFiles(const Handle &folder, const QByteArray &name)
{
    const Handle inside = openFolder(folder, name);
    if (!inside.isOpen())
        return exists(folder, name);
    const QByteArrayList all = names(inside);
    return std::any_of(all.begin(), all.end(),
                       [&inside](const QByteArray &inner) { return holdsFiles(inside, inner); });
}

bool Files::moveFiles(const Handle &fromFolder, const QByteArray &from, const Handle &toFolder,
                      const QByteArray &to)
{
    {
        const Handle source = openFolderToEmpty(fromFolder, from);
        if (!source.isOpen())
            return !exists(fromFolder, from) || move(fromFolder, from, toFolder, to);
        Handle target;
        if (!makeFolder(toFolder, to, &target).ok())
            return false;
        for (const QByteArray &inner : names(source)) {
            if (!moveFiles(source, inner, target, inner))
                return false;
        }
        if (!sync(target).ok())
            return false;
    }
    (void)removeEmptyFolder(fromFolder, from);
    return true;
}

std::optional<QByteArray> Files::read(const Handle &folder, const QByteArray &name, qint64 limit)
{
    qint64 size = 0;
    const Handle file = openFile(folder, name, &size);
    if (!file.isOpen() || size > limit)
        return std::nullopt;
    QByteArray content(int(size), '\0');
    for (int done = 0; done < content.size();) {
        const qint64 count = read(file, content.data() + done, content.size() - done);
        if (count <= 0)
            return std::nullopt;
        done += int(count);
    }
    return content;
}

InstallResult Files::writeNew(const Handle &folder, const QByteArray &name, const char *data, qint64 size)
{
    InstallResult result;
    {
        const Handle file = createFile(folder, name, Kind::Private);
        if (!file.isOpen())
            return systemFault(QStringLiteral("a file cannot be made"));
        result = write(file, data, size);
        if (result.ok())
            result = sync(file);
    }
    const int error = lastError();
    if (!result.ok())
        unlink(folder, name);
    setLastError(error);
    return result;
}

InstallResult Files::remove(const Handle &folder, const QByteArray &name)
{
    if (unlink(folder, name) || lastFailure() == Failure::Missing)
        return InstallResult();
    QByteArrayList left{name};
    InstallResult result;
    while (!left.isEmpty()) {
        if (!removeFolder(folder, left.takeLast(), &left) && result.ok())
            result = systemFault(QStringLiteral("\"%1\" cannot be removed").arg(decoded(name)));
    }
    return result;
}

InstallResult Files::discard(const Handle &folder, const QByteArray &name)
{
    const InstallResult removed = remove(folder, name);
    if (removed.ok())
        return removed;
    if (exists(folder, name)) {
        const QByteArray fresh = freshName(folder);
        const bool isMoved = move(folder, name, folder, fresh)
                             || (lastFailure() == Failure::InUse && moveFiles(folder, name, folder, fresh));
        if (!isMoved)
            return removed;
    }
    printError(
        QStringLiteral("%1; what is left of it is set aside and tried again later").arg(removed.fault));
    return InstallResult();
}

void Files::removeRubbish(const Handle &folder)
{
    for (const QByteArray &name : names(folder)) {
        if (name.startsWith(rubbishPrefix))
            (void)remove(folder, name);
    }
}

QString Files::makePrivateFolder(const QString &path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    const Place place(path);
    const Handle folder = place.folder.isOpen() ? makeOwnFolder(place.folder, place.name) : Handle();
    if (!folder.isOpen())
        return lastReason();
    const Rights rights = rightsOf(folder);
    if (!rights.isOwn)
        return QStringLiteral("it belongs to another user");
    const bool isClosed = !rights.anyOtherMayRead && !rights.anyOtherMayWrite;
    return isClosed || closeToOthers(folder) ? QString() : lastReason();
}

QString Files::createPrivate(const QString &path, const char *data, qint64 size)
{
    const Place place(path);
    const bool ok = place.folder.isOpen() && writeNew(place.folder, place.name, data, size).ok()
                    && sync(place.folder).ok();
    return ok ? QString() : lastReason();
}

QString Files::replacePrivate(const QString &path, const char *data, qint64 size)
{
    const Place place(path);
    if (!place.folder.isOpen())
        return lastReason();
    const QByteArray draft = place.name + ".new";
    // What an interrupted writer left, or a link that somebody put there.
    unlink(place.folder, draft);
    if (!writeNew(place.folder, draft, data, size).ok())
        return lastReason();
    if (move(place.folder, draft, place.folder, place.name))
        return sync(place.folder).ok() ? QString() : lastReason();
    const QString fault = lastReason();
    unlink(place.folder, draft);
    return fault;
}
