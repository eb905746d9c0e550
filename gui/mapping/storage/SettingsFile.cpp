#include "gui/mapping/storage/SettingsFile_p.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"

#include <QFileInfo>
#include <QSettings>
#include <QTemporaryFile>

#include <algorithm>

namespace {

/// QSettings tells that a file is damaged only when it reads the file, which it does once a process; then it would write
/// the rest of it over the whole. So a copy is read that it cannot know.
bool isIntact(const QSettings &settings)
{
    QFile file(settings.fileName());
    if (!QFileInfo(file).isFile() || file.size() == 0)
        return true;
    QTemporaryFile copy;
    if (!file.open(QIODevice::ReadOnly) || !copy.open())
        return false;
    const QByteArray content = file.readAll();
    if (copy.write(content) != content.size() || !copy.flush())
        return false;
    return QSettings(copy.fileName(), settings.format()).status() == QSettings::NoError;
}

/// After a failure QSettings would go on to give, and to try to write, what could not be written.
void putBack(QSettings *settings, const QHash<QString, QVariant> &before)
{
    for (auto entry = before.begin(); entry != before.end(); ++entry) {
        if (entry->isValid()) {
            settings->setValue(entry.key(), *entry);
            continue;
        }
        // Removing a key removes everything below it.
        settings->beginGroup(entry.key());
        QHash<QString, QVariant> below;
        const QStringList keys = settings->allKeys();
        for (const QString &key : keys)
            below.insert(key, settings->value(key));
        settings->endGroup();
        settings->remove(entry.key());
        for (auto child = below.begin(); child != below.end(); ++child)
            settings->setValue(entry.key() + QLatin1Char('/') + child.key(), *child);
    }
}

} // namespace

namespace SettingsFile {

QString key(const QString &prefix, const QString &path)
{
    const QString whole = prefix + QLatin1Char('/') + path;
    // QSettings takes neighbouring slashes for one, and none at either end.
    return whole.split(QLatin1Char('/'), Qt::SkipEmptyParts).join(QLatin1Char('/'));
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
    if (settings.status() == QSettings::AccessError || !settings.isWritable())
        return settings.fileName() + QStringLiteral(" cannot be written");
    if (!isIntact(settings))
        return settings.fileName() + QStringLiteral(" holds something that is no setting");

    // What other files of the settings hold is not to be written here.
    settings.setFallbacksEnabled(false);
    QStringList keys = values.keys();
    keys.sort();
    QHash<QString, QVariant> before;
    for (const QString &key : keys) {
        before.insert(key, settings.value(key));
        settings.setValue(key, values.value(key));
    }
    settings.sync();
    if (settings.status() == QSettings::NoError)
        return QString();
    putBack(&settings, before);
    return settings.fileName() + QStringLiteral(" could not be written; the disk may be full");
}

} // namespace SettingsFile
