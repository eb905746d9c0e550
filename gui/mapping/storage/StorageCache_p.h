#pragma once

#include <QHash>
#include <QString>
#include <QVariant>

/// What a model knows of one storage: the values that it holds, and those that were set and wait for a
/// submission. Every question is answered in constant time.
class StorageCache
{
public:
    /// The value that was set, else the stored one; invalid when neither is known.
    QVariant value(const QString &path) const;
    bool isSet(const QString &path) const { return m_set.contains(path); }
    bool isStoredKnown(const QString &path) const { return m_stored.contains(path); }
    const QHash<QString, QVariant> &setValues() const { return m_set; }

    void set(const QString &path, const QVariant &value);
    /// The storage holds this. A value that was set and is the same has arrived.
    void setStored(const QString &path, const QVariant &value);
    /// Forgets what was set.
    void revert();

    /// How many of the values that were set differ from the stored ones.
    int differences() const { return m_differences; }
    bool differs(const QString &path) const;
    bool differsFromStored(const QString &path, const QVariant &value) const;

private:
    QHash<QString, QVariant> m_stored;
    QHash<QString, QVariant> m_set;
    int m_differences = 0;
};
