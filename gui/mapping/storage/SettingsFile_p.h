#pragma once

#include <QHash>
#include <QString>
#include <QVariant>

class QSettings;

/// The application's settings as a storage that can fail.
namespace SettingsFile {

/// Without a leading slash; empty when there is nothing but slashes, which is no key.
QString key(const QString &prefix, const QString &path);
/// The stored value; an invalid one counts as none.
QVariant value(const QSettings &settings, const QString &key, const QVariant &defaultValue);

/**
 * Writes the values, by key, to the application's QSettings and to the disk. Keys that other processes write
 * meanwhile are kept.
 *
 * @return  empty on success, else the reason in words for the log. Then nothing was written, and every
 *          QSettings of this process gives the old values. A file that cannot be written, holds something
 *          that is no setting, or lies on a full disk stays as it is.
 */
QString write(const QHash<QString, QVariant> &values);

} // namespace SettingsFile
