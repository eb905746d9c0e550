#include "gui/messages/record/MessageChoices_p.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QSettings>

#include <algorithm>

namespace {

const QString hiddenGroup = QStringLiteral("Hidden Messages ID List");
const QString shownOnceGroup = QStringLiteral("Shown Once For VM Messages ID List");

QString hiddenKey(int code)
{
    return hiddenGroup + QLatin1Char('/') + QString::number(code, 10);
}

/// Slashes would nest groups, and "a//b" would be the key of "a/b".
QString shownOnceKey(QString issuerId)
{
    issuerId.replace(QLatin1Char('%'), QLatin1String("%25"));
    issuerId.replace(QLatin1Char('/'), QLatin1String("%2F"));
    issuerId.replace(QLatin1Char('\\'), QLatin1String("%5C"));
    return shownOnceGroup + QLatin1Char('/') + issuerId;
}

/**
 * The application's settings, as they are on disk: every message asks, so one object is kept and read again
 * only when another process has changed the file. Where settings are no file, they are opened afresh.
 */
class Store
{
public:
    QSettings &current();
    /// On disk when it returns; a null value removes the key.
    void write(const QString &key, const QVariant &value);

private:
    void reportDamage(const QSettings &settings);

    /// Settings belong to these names; a host may set them late.
    QString m_application;
    /// Never deleted: at the end of the process the settings' own statics may be gone before it.
    QSettings *m_settings = nullptr;
    QFileInfo m_file;
    qint64 m_size = 0;
    QDateTime m_modified;
    bool m_isDamageReported = false;
};

QSettings &Store::current()
{
    const QString application
        = QCoreApplication::organizationName() + QLatin1Char('/') + QCoreApplication::applicationName();
    // What is kept open of a registry sees nothing any more once somebody has cleared it.
    const bool isRegistry = m_settings && m_settings->fileName().startsWith(QLatin1Char('\\'));
    if (!m_settings || isRegistry || application != m_application) {
        delete m_settings;
        m_settings = new QSettings;
        m_application = application;
        m_file.setFile(m_settings->fileName());
        m_modified = QDateTime();
        m_isDamageReported = false;
    }
    m_file.refresh();
    const QDateTime modified = m_file.lastModified();
    if (modified != m_modified || m_file.size() != m_size) {
        m_modified = modified;
        m_size = m_file.size();
        m_settings->sync();
        reportDamage(*m_settings);
    }
    return *m_settings;
}

void Store::reportDamage(const QSettings &settings)
{
    if (m_isDamageReported || settings.status() != QSettings::FormatError)
        return;
    m_isDamageReported = true;
    KOV_LOG(0, "(!)Error: the settings in %s are damaged; what cannot be read counts as not set",
            KovGui::logText(settings.fileName()).constData());
}

void Store::write(const QString &key, const QVariant &value)
{
    // Not the object that is kept: it would tell of an old fault for ever. They share what they hold.
    QSettings writer;
    if (value.isNull())
        writer.remove(key);
    else
        writer.setValue(key, value);
    writer.sync();
    reportDamage(writer);
    if (writer.status() == QSettings::AccessError)
        KOV_LOG(0, "(!)Error: can't write the settings to %s",
                KovGui::logText(writer.fileName()).constData());
}

Store &settingsStore()
{
    static auto *const instance = new Store;
    return *instance;
}

QSettings &settings()
{
    return settingsStore().current();
}

void change(const QString &key, const QVariant &value)
{
    // So that what is kept in memory stays when it cannot be written.
    settings();
    settingsStore().write(key, value);
}

void removeKey(const QString &key)
{
    change(key, QVariant());
}

} // namespace

namespace MessageChoices {

bool contains(int code)
{
    return settings().contains(hiddenKey(code));
}

Messaging::ButtonID answer(int code)
{
    const uint stored = settings().value(hiddenKey(code)).toUInt();
    return stored <= Messaging::Button3 ? Messaging::ButtonID(stored) : Messaging::ButtonNone;
}

void store(int code, Messaging::ButtonID answer)
{
    change(hiddenKey(code), uint(answer));
}

void remove(int code)
{
    removeKey(hiddenKey(code));
}

void removeAll()
{
    removeKey(hiddenGroup);
}

QList<int> codes()
{
    QSettings &source = settings();
    source.beginGroup(hiddenGroup);
    const QStringList keys = source.childKeys();
    source.endGroup();

    QList<int> codes;
    for (const QString &key : keys) {
        const int code = key.toInt();
        if (QString::number(code) == key)
            codes.append(code);
    }
    std::sort(codes.begin(), codes.end());
    return codes;
}

void storeShownOnce(const QString &issuerId, int code)
{
    change(shownOnceKey(issuerId), code);
}

bool isShownOnce(const QString &issuerId, int code)
{
    const QString key = shownOnceKey(issuerId);
    // An absent entry would read as code 0.
    return settings().contains(key) && settings().value(key).toInt() == code;
}

} // namespace MessageChoices
