#include "gui/mapping/storage/SettingsFile_p.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLockFile>
#include <QSaveFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>

namespace {

constexpr int lockWaitMs = 10000;
constexpr int mostAttempts = 20;
constexpr int pauseMs = 50;

/// The settings in a file's text: a line each, but for the names of the groups and the lines between them.
int settingsIn(const QByteArray &content)
{
    int count = 0;
    for (int begin = 0; begin < content.size(); begin = content.indexOf('\n', begin) + 1)
        count += int(content[begin] != '\n' && content[begin] != '\r' && content[begin] != '[');
    return count;
}

/// Puts the values into what a settings file holds. On a full disk QSettings says that it wrote what it only
/// began, so the outcome is counted; and it notices damage only when it reads a file for the first time,
/// which a copy always is.
QString edit(QByteArray *content, QSettings::Format format, const QHash<QString, QVariant> &values)
{
    const QString noRoom = QStringLiteral("no room for a temporary copy");
    // QTemporaryFile keeps its file open, and not every system replaces one that is.
    const QTemporaryDir folder;
    QFile draft(folder.filePath(QStringLiteral("draft")));
    if (!draft.open(QIODevice::WriteOnly) || draft.write(*content) != content->size() || !draft.flush())
        return noRoom;
    draft.close();

    int count = 0;
    {
        QSettings settings(draft.fileName(), format);
        settings.allKeys(); // has all of it read
        if (settings.status() != QSettings::NoError)
            return QStringLiteral("it holds something that is no setting");
        for (auto value = values.begin(); value != values.end(); ++value)
            settings.setValue(value.key(), *value);
        count = settings.allKeys().size();
    }
    if (!draft.open(QIODevice::ReadOnly))
        return noRoom;
    *content = draft.readAll();
    return content->endsWith('\n') && settingsIn(*content) == count ? QString() : noRoom;
}

/// Nobody ever sees half of it.
/// @param isTaken  set when the file is complete but cannot take its place
QString replaceOnce(const QString &fileName, const QByteArray &content, bool *isTaken)
{
    const QDateTime before = QFileInfo(fileName).lastModified();
    QSaveFile file(fileName);
    // Buffered it would not notice that the last bytes found no room.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return file.errorString();
    if (file.write(content) != content.size())
        return QStringLiteral("the disk is full");
    // QSettings reads a file again when its size or its time has changed.
    if (before.isValid() && file.fileTime(QFileDevice::FileModificationTime) <= before)
        file.setFileTime(before.addMSecs(1), QFileDevice::FileModificationTime);
    *isTaken = !file.commit();
    return *isTaken ? file.errorString() : QString();
}

QString replace(const QString &fileName, const QByteArray &content)
{
    for (int attempt = 1;; ++attempt) {
        bool isTaken = false;
        const QString error = replaceOnce(fileName, content, &isTaken);
        if (!isTaken || attempt == mostAttempts)
            return error;
        // On Windows nobody replaces a file while somebody else reads it, which is soon over.
        QThread::msleep(pauseMs);
    }
}

QString notWritable()
{
    return QStringLiteral("it cannot be written");
}

/// Makes the folder of a file, too.
bool isWritable(const QSettings &settings)
{
    return settings.status() != QSettings::AccessError && settings.isWritable();
}

QString writeFile(const QSettings &settings, const QHash<QString, QVariant> &values)
{
    const QString fileName = settings.fileName();
    const bool wasWritable = isWritable(settings);
    // The lock under which every QSettings writes this file.
    QLockFile lock(fileName + QStringLiteral(".lock"));
    if (!lock.tryLock(lockWaitMs))
        return wasWritable ? QStringLiteral("another process holds it, or the disk is full") : notWritable();
    // On Windows a file cannot be opened while another process replaces it.
    if (!wasWritable && !isWritable(QSettings(fileName, settings.format())))
        return notWritable();
    QByteArray content;
    QFile file(fileName);
    if (file.exists()) {
        if (!file.open(QIODevice::ReadOnly))
            return file.errorString();
        content = file.readAll();
        file.close();
    }
    const QString error = edit(&content, settings.format(), values);
    return error.isEmpty() ? replace(fileName, content) : error;
}

} // namespace

namespace SettingsFile {

QString key(const QString &prefix, const QString &path)
{
    const QLatin1Char slash('/');
    if (prefix.isEmpty() && !path.contains(slash))
        return path;
    const QString whole = prefix + slash + path;
    // QSettings takes neighbouring slashes for one, and none at either end.
    return whole.split(slash, Qt::SkipEmptyParts).join(slash);
}

QVariant value(const QSettings &settings, const QString &key, const QVariant &defaultValue)
{
    const QVariant stored = settings.value(key, defaultValue);
    if (stored.isValid() || !defaultValue.isValid())
        return stored;
    KOV_LOG(0, "(!)Error: The setting [%s] holds no value; its default takes its place.",
            KovGui::logText(key).constData());
    return defaultValue;
}

QString write(const QHash<QString, QVariant> &values)
{
    QSettings settings;
    const QString fileName = settings.fileName();
    const auto complaint = [&](const QString &error) {
        return error.isEmpty() ? QString() : fileName + QStringLiteral(": ") + error;
    };
    // Some systems keep settings elsewhere than in a file.
    if (settings.format() == QSettings::IniFormat || fileName.endsWith(QLatin1String(".conf")))
        return complaint(writeFile(settings, values));
    if (!isWritable(settings))
        return complaint(notWritable());
    for (auto value = values.begin(); value != values.end(); ++value)
        settings.setValue(value.key(), *value);
    settings.sync();
    return complaint(settings.status() == QSettings::NoError ? QString()
                                                             : QStringLiteral("it could not be written"));
}

} // namespace SettingsFile
