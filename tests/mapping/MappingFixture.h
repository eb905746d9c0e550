#pragma once

#include "gui/mapping/storage/CMappingModel.h"
#include "tests/support/KovTest.h"
#include "tests/support/LogCapture.h"

/// A model with a storage "Remote" whose submission ends when the test says so. Notes what happens.
class SampleModel : public CMappingModel
{
    Q_OBJECT

public:
    explicit SampleModel(SubmitPolicy policy = ManualSubmit)
        : CMappingModel(policy)
    {
        connect(this, &CMappingModel::submitStarted, this, [this] { events += "started"; });
        connect(this, &CMappingModel::submitFinished, this, [this](int result) {
            events += result < 0 ? QString("failed") : "finished " + QString::number(result);
        });
        connect(this, &CMappingModel::valueChanged, this,
                [this](const QString &storage, const QString &path) {
                    events += storage + '.' + path + '=' + getValue(storage, path).toString();
                });
    }

    QVariant getValue(const QString &storage, const QString &path) const override
    {
        return storage == "Remote" ? cachedValue(storage, path) : CMappingModel::getValue(storage, path);
    }
    void setValue(const QString &storage, const QString &path, const QVariant &value) override
    {
        if (storage == "Remote")
            cacheValue(storage, path, value);
        CMappingModel::setValue(storage, path, value);
    }
    /// The storage's answer.
    void end(int result)
    {
        if (result >= 0)
            valuesStored("Remote", sent);
        endSubmit(result);
    }
    QString takeEvents() { return std::exchange(events, {}).join(" | "); }

    using CMappingModel::valuesStored;
    QString prefix;
    QHash<QString, QVariant> defaults;
    QHash<QString, QVariant> sent;
    QStringList events;

protected:
    void submitStorage(const QString &storage) override
    {
        events += "submit " + storage;
        if (storage != "Remote")
            return CMappingModel::submitStorage(storage);
        sent = cachedValues(storage);
        startSubmit(storage);
    }
    QString getQSettingsPrefix() const override { return prefix; }
    QVariant getDefaultValue(const QString &, const QString &path) const override
    {
        return defaults.value(path);
    }
};

/// A settings file of its own for each test.
inline void useNewSettings()
{
    static int number = 0;
    QCoreApplication::setApplicationName(QString("settings %1").arg(++number));
}
