#pragma once

#include "gui/mapping/values/Mappings.h"

#include <QObject>
#include <QStringList>

#include <memory>

class CMappingModelPrivate;

/**
 * Reads and writes values, and submits them storage by storage.
 *
 * The model itself knows the storage "QSettings", the application's QSettings. A derived model adds its own,
 * which may submit them asynchronously:
 *
 *     QVariant getValue(storage, path) const override; // mine: cachedValue(), else the base
 *     void setValue(storage, path, value) override; // mine: cacheValue(); then, for all, the base
 *     void submitStorage(storage) override; // mine: startSubmit(), later valuesStored(), endSubmit()
 *     QStringList getAllStorages() const override; // the base's and mine
 *
 * What is set is kept until its storage was submitted: getValue() gives it meanwhile, a failed submission
 * keeps it, and the next submit() tries again. Only success or revert() forgets it.
 *
 * Lives on the GUI thread. May be deleted at any time, also in a slot of its own signals.
 */
class KOVGUI_EXPORT CMappingModel : public QObject
{
    Q_OBJECT

public:
    enum SubmitPolicy {
        AutoSubmit = 0, ///< every setValue() and setValues() submits at once
        ManualSubmit = 1 ///< values collect until submit()
    };
    Q_ENUM(SubmitPolicy)

    /// A model with AutoSubmit.
    CMappingModel();
    explicit CMappingModel(SubmitPolicy policy, QObject *parent = nullptr);
    ~CMappingModel() override;

    SubmitPolicy getSubmitPolicy() const;
    /// Submits nothing by itself.
    /// @return  the policy before
    SubmitPolicy setSubmitPolicy(SubmitPolicy policy);

    /// Whether storages wait for submission. After a failure none does, although values are kept: ask
    /// isModified().
    bool hasDataToSubmit() const;
    bool isSubmiting() const;
    /// A storage is listed once; the order of listing is the order of submission. An empty name is not
    /// listed.
    void addStorageToSubmit(const QString &storage);

    /// The value that was set and not submitted, else the stored one, else the default; invalid for a storage
    /// that nobody knows. A value that is stored as invalid counts as not stored.
    virtual QVariant getValue(const QString &storage, const QString &path) const;
    /// Fills every path of the tree with getValue(). The settings are opened once for all.
    /// @return  true; a derived model may fail
    virtual bool getValues(QHash<QString, QHash<QString, QVariant>> &values) const;

public Q_SLOTS:
    /// An invalid value, and a path that is empty or only slashes, is an error in the log and changes
    /// nothing. A storage that nobody knows is ignored.
    virtual void setValue(const QString &storage, const QString &path, const QVariant &value);
    /// setValue() for every path, in order; with AutoSubmit one submission at the end.
    virtual void setValues(const QHash<QString, QHash<QString, QVariant>> &values);

protected:
    /// Submits one storage. A derived model either ends it before it returns, with endSubmit(), or begins
    /// here with startSubmit() and calls endSubmit() later, once. A storage for which neither is done ends as
    /// failed.
    virtual void submitStorage(const QString &storage);
    virtual QStringList getAllStorages() const;
    /// Stands before every path in the settings, with a slash between them.
    virtual QString getQSettingsPrefix() const;
    virtual QVariant getDefaultValue(const QString &storage, const QString &path) const;

public:
    /// Whether a value that was set differs from the stored one, for the storages whose values are cached
    /// here. Costs the same for any number of values.
    /// @param instead  values that count instead of those that were set for their paths
    bool isModified(const Mappings::Values &instead = Mappings::Values()) const;

public Q_SLOTS:
    /// Submits what waits, and what a failed submission kept. While a submission runs, it takes the rest
    /// along. submitFinished() follows once, possibly before the call returns.
    void submit();
    /// Forgets all that was set and not submitted, and has everything read again.
    void revert();

Q_SIGNALS:
    /// All values may have changed.
    void dataChanged();
    /// getValue() gives another value for this path.
    void valueChanged(const QString &storage, const QString &path);
    /// isModified() may have changed.
    void modifiedChanged();
    /// Not emitted when there is nothing to submit.
    void submitStarted();
    /// @param result  0 for success; negative: a storage failed, and those behind it were not submitted
    void submitFinished(int result);

protected:
    /// The submission of the storage has begun and goes on after submitStorage() has returned.
    void startSubmit(const QString &storage);
    /// The running submission of a storage has ended. Ignored, with an error in the log, when none runs.
    void endSubmit(int result);

    /// Keeps a value of a derived model's storage until it is submitted, and lists the storage. The stored
    /// value, unless it is known, is asked for through getValue().
    void cacheValue(const QString &storage, const QString &path, const QVariant &value);
    /// What was set, else what is stored, as far as it was told; invalid else.
    QVariant cachedValue(const QString &storage, const QString &path) const;
    /// What was set and waits, by path.
    QHash<QString, QVariant> cachedValues(const QString &storage) const;
    /// The storage now holds these values, because it was read, written or changed by others. Of those that
    /// were set, the same ones have arrived and wait no longer.
    void valuesStored(const QString &storage, const QHash<QString, QVariant> &values);

private:
    friend class CMappingModelPrivate;
    const std::unique_ptr<CMappingModelPrivate> d;
};
