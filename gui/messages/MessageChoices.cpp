#include "gui/messages/MessageChoices_p.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"

#include <QSettings>

#include <algorithm>

namespace {

const QString HiddenGroup = QStringLiteral("Hidden Messages ID List");
const QString ShownOnceGroup = QStringLiteral("Shown Once For VM Messages ID List");

QString hiddenKey(int code)
{
    return HiddenGroup + QLatin1Char('/') + QString::number(code, 10);
}

/// Slashes would nest groups, and "a//b" would be the key of "a/b".
QString shownOnceKey(QString issuerId)
{
    issuerId.replace(QLatin1Char('%'), QLatin1String("%25"));
    issuerId.replace(QLatin1Char('/'), QLatin1String("%2F"));
    issuerId.replace(QLatin1Char('\\'), QLatin1String("%5C"));
    return ShownOnceGroup + QLatin1Char('/') + issuerId;
}

void writeToDisk(QSettings &settings)
{
    settings.sync();
    if (settings.status() != QSettings::NoError)
        KOV_LOG(0, "(!)Error: can't write the settings to %s",
                KovGui::logText(settings.fileName()).constData());
}

} // namespace

namespace MessageChoices {

bool contains(int code)
{
    return QSettings().contains(hiddenKey(code));
}

Messaging::ButtonID answer(int code)
{
    const uint stored = QSettings().value(hiddenKey(code)).toUInt();
    return stored <= Messaging::Button3 ? Messaging::ButtonID(stored) : Messaging::ButtonNone;
}

void store(int code, Messaging::ButtonID answer)
{
    QSettings settings;
    settings.setValue(hiddenKey(code), uint(answer));
    writeToDisk(settings);
}

void remove(int code)
{
    QSettings settings;
    settings.remove(hiddenKey(code));
    writeToDisk(settings);
}

void removeAll()
{
    QSettings settings;
    settings.remove(HiddenGroup);
    writeToDisk(settings);
}

QList<int> codes()
{
    QSettings settings;
    settings.beginGroup(HiddenGroup);
    QList<int> codes;
    for (const QString &key : settings.childKeys()) {
        const int code = key.toInt();
        if (QString::number(code) == key)
            codes.append(code);
    }
    std::sort(codes.begin(), codes.end());
    return codes;
}

void storeShownOnce(const QString &issuerId, int code)
{
    QSettings settings;
    settings.setValue(shownOnceKey(issuerId), code);
    writeToDisk(settings);
}

bool isShownOnce(const QString &issuerId, int code)
{
    const QSettings settings;
    const QString key = shownOnceKey(issuerId);
    // An absent entry would read as code 0.
    return settings.contains(key) && settings.value(key).toInt() == code;
}

} // namespace MessageChoices
