#include "examples/console/sample/CrashNote.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace CrashNote {

namespace {

QString folder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation)
           + QStringLiteral("/Crashes");
}

} // namespace

QString newPath()
{
    QDir().mkpath(folder());
    return QStringLiteral("%1/%2.crash").arg(folder()).arg(QCoreApplication::applicationPid());
}

QString find()
{
    const QStringList notes = QDir(folder()).entryList({QStringLiteral("*.crash")}, QDir::Files, QDir::Time);
    return notes.isEmpty() ? QString() : QDir(folder()).filePath(notes.first());
}

QString text(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void remove(const QString &path)
{
    QFile::remove(path);
}

} // namespace CrashNote
