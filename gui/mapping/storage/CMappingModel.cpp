#include "gui/mapping/storage/CMappingModel.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/mapping/storage/SettingsFile_p.h"
#include "gui/mapping/storage/StorageCache_p.h"
#include "gui/mapping/values/MappingHelpers.h"
#include "gui/mapping/values/ValueAddress_p.h"
#include "kov_sdk/KovTypes.h"

#include <QMap>
#include <QPointer>
#include <QSettings>

namespace {

const QString &settingsStorage()
{
    static const QString name = QString::fromLatin1(Mappings::QSettingsStorage);
    return name;
}

} // namespace

class CMappingModelPrivate : public QObject
{
    Q_OBJECT

public:
    explicit CMappingModelPrivate(CMappingModel *model)
        : q(model)
    { }

    QVariant readSetting(const QString &path);
    bool writeSettings();
    void submitStep();

    CMappingModel *const q;
    CMappingModel::SubmitPolicy policy = CMappingModel::AutoSubmit;
    QMap<QString, StorageCache> caches;
    bool submitting = false;
    QString currentStorage;
    int result = KOV_SUCCESS;
    QStringList pending;
    /// How often a storage said that it began or ended.
    int answers = 0;
    /// True while submitStorage() is being called.
    bool asking = false;
    /// Open while a whole tree is read.
    std::unique_ptr<QSettings> reader;
    /// The last reader: while one is open, the next need not parse a large file again that has not changed.
    std::unique_ptr<QSettings> formerReader;

Q_SIGNALS:
    void submitStarted();
    void submitFinished(int result);
};

QVariant CMappingModelPrivate::readSetting(const QString &path)
{
    const QString key = SettingsFile::key(q->getQSettingsPrefix(), path);
    const QVariant defaultValue = q->getDefaultValue(settingsStorage(), path);
    if (key.isEmpty())
        return defaultValue;
    const QVariant value = reader ? SettingsFile::value(*reader, key, defaultValue)
                                  : SettingsFile::value(QSettings(), key, defaultValue);
    caches[settingsStorage()].setStored(path, value);
    return value;
}

bool CMappingModelPrivate::writeSettings()
{
    const auto values = caches.value(settingsStorage()).setValues();
    QHash<QString, QVariant> byKey;
    for (auto value = values.begin(); value != values.end(); ++value)
        byKey.insert(SettingsFile::key(q->getQSettingsPrefix(), value.key()), *value);
    const QString error = byKey.isEmpty() ? QString() : SettingsFile::write(byKey);
    if (!error.isEmpty()) {
        KOV_LOG(0, "(!)Error: The settings are not saved: %s.", KovGui::logText(error).constData());
        return false;
    }
    q->valuesStored(settingsStorage(), values);
    return true;
}

void CMappingModelPrivate::submitStep()
{
    const QPointer<CMappingModelPrivate> alive(this);
    if (!currentStorage.isEmpty())
        return; // endSubmit() goes on
    if (!pending.isEmpty() && !submitting) {
        submitting = true;
        Q_EMIT submitStarted();
        // A slot may have gone through the whole submission by itself.
        if (!alive || !submitting || !currentStorage.isEmpty())
            return;
    }
    if (pending.isEmpty()) {
        submitting = false;
        Q_EMIT submitFinished(result);
        return;
    }

    const QString storage = pending.takeFirst();
    const int answersBefore = answers;
    asking = true;
    q->submitStorage(storage);
    if (!alive)
        return;
    asking = false;
    if (answers == answersBefore) {
        KOV_LOG(0, "(!)Error: Nobody submits the storage [%s].", KovGui::logText(storage).constData());
        currentStorage = storage;
        q->endSubmit(KOV_ERR_FAILURE);
    }
}

CMappingModel::CMappingModel()
    : CMappingModel(AutoSubmit)
{ }

CMappingModel::CMappingModel(SubmitPolicy policy, QObject *parent)
    : QObject(parent)
    , d(std::make_unique<CMappingModelPrivate>(this))
{
    d->policy = policy;
    connect(d.get(), &CMappingModelPrivate::submitStarted, this, &CMappingModel::submitStarted);
    connect(d.get(), &CMappingModelPrivate::submitFinished, this, &CMappingModel::submitFinished);
    KOV_LOG(3, "CMappingModel %p created", static_cast<void *>(this));
}

CMappingModel::~CMappingModel()
{
    KOV_LOG(3, "CMappingModel %p destroyed", static_cast<void *>(this));
}

CMappingModel::SubmitPolicy CMappingModel::getSubmitPolicy() const
{
    return d->policy;
}

CMappingModel::SubmitPolicy CMappingModel::setSubmitPolicy(SubmitPolicy policy)
{
    return std::exchange(d->policy, policy);
}

bool CMappingModel::hasDataToSubmit() const
{
    return !d->pending.isEmpty();
}

bool CMappingModel::isSubmiting() const
{
    return d->submitting;
}

void CMappingModel::addStorageToSubmit(const QString &storage)
{
    if (!storage.isEmpty() && !d->pending.contains(storage))
        d->pending.append(storage);
}

QVariant CMappingModel::getValue(const QString &storage, const QString &path) const
{
    if (storage != settingsStorage())
        return QVariant();
    const StorageCache &cache = d->caches[storage];
    return cache.isSet(path) ? cache.value(path) : d->readSetting(path);
}

bool CMappingModel::getValues(QHash<QString, QHash<QString, QVariant>> &values) const
{
    const bool isOutermost = !d->reader;
    if (isOutermost && values.contains(settingsStorage()))
        d->reader = std::make_unique<QSettings>();
    for (auto storage = values.begin(); storage != values.end(); ++storage) {
        for (auto path = storage->begin(); path != storage->end(); ++path)
            *path = getValue(storage.key(), path.key());
    }
    if (isOutermost && d->reader)
        d->formerReader = std::move(d->reader);
    return true;
}

void CMappingModel::setValue(const QString &storage, const QString &path, const QVariant &value)
{
    const QPointer<CMappingModel> alive(this);
    if (storage == settingsStorage()) {
        if (SettingsFile::key(getQSettingsPrefix(), path).isEmpty())
            KOV_LOG(0, "(!)Error: A setting without a name is not set.");
        else
            cacheValue(storage, path, value);
    }
    if (alive && d->policy == AutoSubmit) {
        d->result = KOV_SUCCESS;
        d->submitStep();
    }
}

void CMappingModel::setValues(const QHash<QString, QHash<QString, QVariant>> &values)
{
    const QPointer<CMappingModel> alive(this);
    const SubmitPolicy policy = setSubmitPolicy(ManualSubmit);
    for (const ValueAddress &address : sortedAddresses(values)) {
        setValue(address.storage, address.path, values.constFind(address.storage)->value(address.path));
        if (!alive)
            return;
    }
    setSubmitPolicy(policy);
    if (policy == AutoSubmit) {
        d->result = KOV_SUCCESS;
        d->submitStep();
    }
}

void CMappingModel::submitStorage(const QString &storage)
{
    if (storage != settingsStorage())
        return;
    startSubmit(storage);
    const QPointer<CMappingModel> alive(this);
    const bool written = d->writeSettings();
    if (alive)
        endSubmit(written ? KOV_SUCCESS : KOV_ERR_FAILURE);
}

QStringList CMappingModel::getAllStorages() const
{
    return {settingsStorage()};
}

QString CMappingModel::getQSettingsPrefix() const
{
    return QString();
}

QVariant CMappingModel::getDefaultValue(const QString &, const QString &) const
{
    return QVariant();
}

bool CMappingModel::isModified(const Mappings::Values &instead) const
{
    int differences = 0;
    for (const StorageCache &cache : qAsConst(d->caches))
        differences += cache.differences();
    for (auto storage = instead.begin(); storage != instead.end(); ++storage) {
        for (auto path = storage->begin(); path != storage->end(); ++path) {
            if (!d->caches[storage.key()].isStoredKnown(path.key()))
                d->caches[storage.key()].setStored(path.key(), getValue(storage.key(), path.key()));
            const StorageCache &cache = d->caches[storage.key()];
            if (cache.differsFromStored(path.key(), *path))
                return true;
            differences -= int(cache.differs(path.key()));
        }
    }
    return differences > 0;
}

void CMappingModel::submit()
{
    for (auto cache = d->caches.begin(); cache != d->caches.end(); ++cache) {
        if (!cache->setValues().isEmpty() && cache.key() != d->currentStorage)
            addStorageToSubmit(cache.key());
    }
    d->result = KOV_SUCCESS;
    d->submitStep();
}

void CMappingModel::revert()
{
    for (auto cache = d->caches.begin(); cache != d->caches.end(); ++cache) {
        if (!cache->setValues().isEmpty())
            d->pending.removeAll(cache.key());
        cache->revert();
    }
    const QPointer<CMappingModel> alive(this);
    Q_EMIT dataChanged();
    if (alive)
        Q_EMIT modifiedChanged();
}

void CMappingModel::startSubmit(const QString &storage)
{
    ++d->answers;
    d->currentStorage = storage;
}

void CMappingModel::endSubmit(int result)
{
    if (d->currentStorage.isEmpty() && !d->asking) {
        KOV_LOG(0, "(!)Error: A submission ended that does not run.");
        return;
    }
    ++d->answers;
    d->asking = false;
    d->currentStorage.clear();
    d->result = result;
    if (KOV_FAILED(result))
        d->pending.clear();
    d->submitStep();
}

void CMappingModel::cacheValue(const QString &storage, const QString &path, const QVariant &value)
{
    if (!value.isValid()) {
        KOV_LOG(0, "(!)Error: An invalid value is not set. Storage[%s], path[%s]",
                KovGui::logText(storage).constData(), KovGui::logText(path).constData());
        return;
    }
    if (!d->caches[storage].isStoredKnown(path)) {
        const QVariant stored = getValue(storage, path);
        d->caches[storage].setStored(path, stored);
    }
    StorageCache &cache = d->caches[storage];
    const bool changes = !MappingHelpers::isSameValue(cache.value(path), value);
    cache.set(path, value);
    addStorageToSubmit(storage);
    const QPointer<CMappingModel> alive(this);
    if (changes)
        Q_EMIT valueChanged(storage, path);
    if (alive)
        Q_EMIT modifiedChanged();
}

QVariant CMappingModel::cachedValue(const QString &storage, const QString &path) const
{
    return d->caches.value(storage).value(path);
}

QHash<QString, QVariant> CMappingModel::cachedValues(const QString &storage) const
{
    return d->caches.value(storage).setValues();
}

void CMappingModel::valuesStored(const QString &storage, const QHash<QString, QVariant> &values)
{
    QStringList changed;
    StorageCache &cache = d->caches[storage];
    for (auto value = values.begin(); value != values.end(); ++value) {
        const QVariant before = cache.value(value.key());
        cache.setStored(value.key(), *value);
        if (!MappingHelpers::isSameValue(before, cache.value(value.key())))
            changed.append(value.key());
    }
    changed.sort();
    const QPointer<CMappingModel> alive(this);
    for (const QString &path : qAsConst(changed)) {
        Q_EMIT valueChanged(storage, path);
        if (!alive)
            return;
    }
    Q_EMIT modifiedChanged();
}

#include "CMappingModel.moc"
