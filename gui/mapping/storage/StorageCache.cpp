#include "gui/mapping/storage/StorageCache_p.h"

#include "gui/mapping/values/MappingHelpers.h"

QVariant StorageCache::value(const QString &path) const
{
    const auto found = m_set.constFind(path);
    return found != m_set.constEnd() ? *found : m_stored.value(path);
}

bool StorageCache::differsFromStored(const QString &path, const QVariant &value) const
{
    return !MappingHelpers::isSameValue(value, m_stored.value(path));
}

bool StorageCache::differs(const QString &path) const
{
    const auto found = m_set.constFind(path);
    return found != m_set.constEnd() && differsFromStored(path, *found);
}

void StorageCache::set(const QString &path, const QVariant &value)
{
    m_differences += int(differsFromStored(path, value)) - int(differs(path));
    m_set.insert(path, value);
}

void StorageCache::setStored(const QString &path, const QVariant &value)
{
    if (m_set.isEmpty()) {
        m_stored.insert(path, value);
        return;
    }
    m_differences -= int(differs(path));
    m_stored.insert(path, value);
    if (differs(path))
        ++m_differences;
    else
        m_set.remove(path);
}

void StorageCache::revert()
{
    m_set.clear();
    m_differences = 0;
}
