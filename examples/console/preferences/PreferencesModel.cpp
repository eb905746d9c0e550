#include "examples/console/preferences/PreferencesModel.h"

#include "gui/mapping/values/MappingHelpers.h"
#include "kov_sdk_communication/CSdkRequest.h"

#include <QJsonDocument>
#include <QStandardPaths>

namespace {

QString machine()
{
    return QStringLiteral("Machine");
}

QString machinePath(const QString &name)
{
    return QStringLiteral("machines[1].") + name;
}

} // namespace

PreferencesModel::PreferencesModel(QObject *parent)
    : CMappingModel(ManualSubmit, parent)
    , m_service(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)
                + QStringLiteral("/machine-1.json"))
{ }

void PreferencesModel::load()
{
    delete m_loading;
    m_loading = new CSdkRequest(m_service.load(), this);
    connect(m_loading, &CSdkRequest::jobCompleted, this, [this](KOV_RESULT result) {
        const QJsonObject read = QJsonDocument::fromJson(m_loading->data().toUtf8()).object();
        m_loading->deleteLater();
        QHash<QString, QVariant> values;
        for (auto value = read.begin(); value != read.end(); ++value)
            values.insert(machinePath(value.key()), value->toVariant());
        valuesStored(machine(), values);
        Q_EMIT loaded(result);
    });
}

QVariant PreferencesModel::getValue(const QString &storage, const QString &path) const
{
    if (storage != machine())
        return CMappingModel::getValue(storage, path);
    const QVariant known = cachedValue(storage, path);
    return known.isValid() ? known : getDefaultValue(storage, path);
}

void PreferencesModel::setValue(const QString &storage, const QString &path, const QVariant &value)
{
    if (storage == machine())
        cacheValue(storage, path, value);
    CMappingModel::setValue(storage, path, value);
}

void PreferencesModel::submitStorage(const QString &storage)
{
    if (storage != machine()) {
        CMappingModel::submitStorage(storage);
        return;
    }
    const QHash<QString, QVariant> values = cachedValues(storage);
    QJsonObject changes;
    for (auto value = values.begin(); value != values.end(); ++value)
        changes.insert(MappingHelpers::getValueName(value.key()), QJsonValue::fromVariant(*value));
    startSubmit(storage);
    m_refusal.reset();
    auto *request = new CSdkRequest(m_service.save(changes), this);
    connect(request, &CSdkRequest::jobCompleted, this, [this, request, values](KOV_RESULT result) {
        request->deleteLater();
        m_refusal = request->errorEvent();
        if (KOV_SUCCEEDED(result))
            valuesStored(machine(), values);
        endSubmit(result);
    });
}

QStringList PreferencesModel::getAllStorages() const
{
    return CMappingModel::getAllStorages() << machine();
}

QVariant PreferencesModel::getDefaultValue(const QString &storage, const QString &path) const
{
    static const QHash<QString, QVariant> defaults{
        {QStringLiteral("preferences.language"), QStringLiteral("en")},
        {QStringLiteral("preferences.displayName"), QString(QLatin1String(""))},
        {QStringLiteral("preferences.start.withSystem"), true},
        {QStringLiteral("preferences.start.hidden"), false},
        {QStringLiteral("preferences.start.overview"), true},
        {QStringLiteral("preferences.start.lastMachine"), false},
        {QStringLiteral("preferences.tray.hidden"), false},
        {QStringLiteral("preferences.textScale"), 1.0},
        {QStringLiteral("preferences.reconnectMs"), 5000},
        {QStringLiteral("preferences.volume"), 40},
        {QStringLiteral("preferences.record.keep"), true},
        {QStringLiteral("preferences.record.days"), 30},
        {QStringLiteral("preferences.record.bytes"), 64u * 1048576u},
        // What is shown of the machine until its configuration is there.
        {machinePath(QStringLiteral("name")), QString(QLatin1String(""))},
        {machinePath(QStringLiteral("memoryKiB")), 262144u},
        {machinePath(QStringLiteral("processors")), 1},
        {machinePath(QStringLiteral("bootDevice")), QStringLiteral("disk")},
        {machinePath(QStringLiteral("autostart")), false},
        {machinePath(QStringLiteral("discardChanges")), false},
        {machinePath(QStringLiteral("description")), QString(QLatin1String(""))},
    };
    Q_UNUSED(storage)
    return defaults.value(path);
}
