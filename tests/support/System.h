#pragma once

#include <QStringList>

class QProcess;

/// What tests ask of the operating system itself, all but stopServer() implemented once for each. What a
/// system, or this user on it, cannot do returns false; the test then skips what needs it.
namespace System {

/// Whether a file that somebody holds open can be renamed and replaced.
extern const bool renamesOpenFiles;
/// Whether certificates are checked as they should be. Wine takes any where no authorities are named, and
/// none of an authority that Qt hands over.
extern const bool checksCertificates;
/// Whether it shows how a program ended that Ctrl+C ended. Wine says that all was well.
extern const bool showsInterrupt;
/// Whether a file says in its mode who may read it.
extern const bool hasModes;
/// Whether shownOf() sees anything.
extern const bool showsProcesses;

bool makeSymbolicLink(const QString &target, const QString &path);
bool makeHardLink(const QString &target, const QString &path);
bool makeFifo(const QString &path);

/// A file system of this size, in memory, at an empty folder.
bool mountSmall(const QString &folder, qint64 bytes);
bool resizeMounted(const QString &folder, qint64 bytes);
bool unmount(const QString &folder);
/// From now on files that this process writes cannot grow beyond; less than 0: no limit.
bool limitFileSize(qint64 bytes);

/// A child of this process whose name begins so; 0 without one.
qint64 childNamed(const char *name);
/// Without a chance to clear up, as in a crash; false for one that has ended.
bool kill(qint64 process);

/// Before the start of a console program that askToStop() shall reach.
void prepareToStop(QProcess &process);
/// As its user does, or who manages it: SIGTERM, or Ctrl+C at its console.
bool askToStop(QProcess &process);
/// Before the start: lets it run as a user who is not this one.
bool runAsAnotherUser(QProcess &process);

/// Whether this user may do what nobody else may.
bool isRoot();
/// Starts a server that ends with this process. With a folder, root starts it as the user that proxies run
/// as, who then owns the folder. False if that user is missing.
bool startServer(QProcess &process, const QString &program, const QStringList &arguments,
                 const QString &folderOfProxy = QString());
/// Ends it, with time to clear up where the system has a way to ask for that.
void stopServer(QProcess &process);

/// The arguments and the environment of a process, as everybody can see them; empty where the system does not
/// show them.
QByteArray shownOf(qint64 process);
/// The most memory that this process ever had; 0 where the system does not tell.
qint64 peakMemory();
/// The same of its children that have ended.
qint64 peakMemoryOfChildren();

/// The socket's other end will see a reset when it is closed.
void resetAtClose(qintptr socket);

} // namespace System
