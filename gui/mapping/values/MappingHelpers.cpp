#include "gui/mapping/values/MappingHelpers.h"

#include "gui/log/LogText.h"
#include "gui/mapping/values/ValueAddress_p.h"

#include <QDebug>

#include <algorithm>

using Mappings::Values;

QVector<ValueAddress> sortedAddresses(const Values &values, const QString &filter)
{
    QVector<ValueAddress> addresses;
    for (auto storage = values.begin(); storage != values.end(); ++storage) {
        if (!filter.isEmpty() && storage.key() != filter)
            continue;
        for (auto path = storage->begin(); path != storage->end(); ++path)
            addresses.append({storage.key(), path.key()});
    }
    std::sort(addresses.begin(), addresses.end());
    return addresses;
}

namespace Mappings {

Values unitePaths(const Values &first, const Values &second)
{
    Values united = first;
    for (auto storage = second.begin(); storage != second.end(); ++storage) {
        auto &paths = united[storage.key()];
        for (auto path = storage->begin(); path != storage->end(); ++path) {
            QVariant &value = paths[path.key()];
            if (path->isValid())
                value = *path;
        }
    }
    return united;
}

} // namespace Mappings

namespace MappingHelpers {

Values createValuesTree(const Values &values, bool onlyInvalid)
{
    Values tree;
    tree.reserve(values.size());
    for (auto storage = values.begin(); storage != values.end(); ++storage) {
        QHash<QString, QVariant> paths;
        for (auto path = storage->begin(); path != storage->end(); ++path) {
            if (!onlyInvalid || !path->isValid())
                paths.insert(path.key(), QVariant());
        }
        if (!onlyInvalid || !paths.isEmpty())
            tree.insert(storage.key(), paths);
    }
    return tree;
}

bool isAllValuesValid(const Values &values)
{
    return std::all_of(values.begin(), values.end(), [](const QHash<QString, QVariant> &paths) {
        return std::all_of(paths.begin(), paths.end(), [](const QVariant &value) { return value.isValid(); });
    });
}

QVariant getValueByPath(const Values &values, const QString &path, const QString &storage)
{
    if (!storage.isEmpty()) {
        const auto paths = values.constFind(storage);
        return paths != values.constEnd() ? paths->value(path) : QVariant();
    }
    QStringList storages = values.keys();
    storages.sort();
    for (const QString &name : qAsConst(storages)) {
        const auto &paths = *values.constFind(name);
        const auto found = paths.constFind(path);
        if (found != paths.constEnd())
            return *found;
    }
    return QVariant();
}

QVariant getValueByName(const Values &values, const QString &name, const QString &storage)
{
    const auto addresses = sortedAddresses(values, storage);
    const auto found = std::find_if(addresses.begin(), addresses.end(),
                                    [&](const ValueAddress &address) { return address.path.endsWith(name); });
    return found == addresses.end() ? QVariant() : values.value(found->storage).value(found->path);
}

bool hasPath(const Values &values, const QString &path, const QString &storage)
{
    if (!storage.isEmpty()) {
        const auto paths = values.constFind(storage);
        return paths != values.constEnd() && paths->contains(path);
    }
    return std::any_of(values.begin(), values.end(), [&](const auto &paths) { return paths.contains(path); });
}

void setValueByPath(Values &values, const QString &path, const QString &storage, const QVariant &value)
{
    values[storage][path] = value;
}

bool removePath(Values &values, const QString &path, const QString &storage)
{
    bool removed = false;
    for (auto paths = values.begin(); paths != values.end(); ++paths) {
        if (storage.isEmpty() || paths.key() == storage)
            removed |= paths->remove(path) > 0;
    }
    return removed;
}

bool removeAllPathsStartsWith(Values &values, const QString &prefix, const QString &storage)
{
    bool removed = false;
    for (const ValueAddress &address : sortedAddresses(values, storage)) {
        if (address.path.startsWith(prefix))
            removed |= removePath(values, address.path, address.storage);
    }
    return removed;
}

QVariant getFirstValue(const Values &values)
{
    // Nearly every tree that comes here holds one value.
    if (values.size() == 1 && values.begin()->size() == 1)
        return *values.begin()->begin();
    for (const ValueAddress &address : sortedAddresses(values)) {
        const QVariant value = values.value(address.storage).value(address.path);
        if (value.isValid())
            return value;
    }
    return QVariant();
}

bool getValuesFromList(const Values &source, Values &target)
{
    bool complete = true;
    for (auto storage = target.begin(); storage != target.end(); ++storage) {
        const auto known = source.value(storage.key());
        for (auto path = storage->begin(); path != storage->end(); ++path) {
            const QVariant value = known.value(path.key());
            if (value.isValid())
                *path = value;
            else
                complete = false;
        }
    }
    return complete;
}

Values mergeValues(const Values &first, const Values &second)
{
    Values merged;
    for (const Values *values : {&first, &second}) {
        for (auto storage = values->begin(); storage != values->end(); ++storage) {
            for (auto path = storage->begin(); path != storage->end(); ++path) {
                if (path->isValid())
                    setValueByPath(merged, path.key(), storage.key(), *path);
            }
        }
    }
    return merged;
}

void patchNewlyAddedListItemPath(Values &values, const QString &from, const QString &to,
                                 const QString &storage)
{
    const Values before = values;
    for (const ValueAddress &address : sortedAddresses(before, storage)) {
        if (address.path.startsWith(from))
            setValueByPath(values, to + address.path.mid(from.size()), address.storage,
                           before.value(address.storage).value(address.path));
    }
}

int getItemIdFromPath(const QString &path)
{
    const int begin = path.lastIndexOf(QLatin1Char('['));
    const int end = path.lastIndexOf(QLatin1Char(']'));
    return begin >= 0 && end > begin ? path.mid(begin + 1, end - begin - 1).toInt() : 0;
}

QString getValueName(const QString &path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('.')) + 1);
}

QString getParentObjectPath(const QString &path)
{
    return path.left(qMax(path.lastIndexOf(QLatin1Char('.')), 0));
}

void dumpValues(const Values &values, const QString &title)
{
    qCritical("--------------------------------------- %s ---------------------------------------",
              KovGui::logText(title).constData());
    for (const ValueAddress &address : sortedAddresses(values)) {
        QString value;
        QDebug(&value).nospace() << values.value(address.storage).value(address.path);
        qCritical("%s: %s = %s", KovGui::logText(address.storage).constData(),
                  KovGui::logText(address.path).constData(), KovGui::logText(value).constData());
    }
    qCritical("%s",
              "-------------------------------------------------------------------------------------------");
}

bool isSameValue(const QVariant &first, const QVariant &second)
{
    if (!first.isValid() || !second.isValid())
        return first.isValid() == second.isValid();
    const int type = first.userType();
    const int other = second.userType();
    const auto either = [&](int wanted) { return type == wanted || other == wanted; };
    // QVariant itself takes doubles for equal that differ in their last digits.
    if (either(QMetaType::Double) || either(QMetaType::Float)) {
        bool firstIsNumber = false;
        bool secondIsNumber = false;
        const double number = first.toDouble(&firstIsNumber);
        return number == second.toDouble(&secondIsNumber) && firstIsNumber && secondIsNumber;
    }
    if (type == other)
        return first == second;
    if (either(QMetaType::Bool))
        return first.toBool() == second.toBool();
    if (either(QMetaType::QStringList) || either(QMetaType::QVariantList))
        return first.toStringList() == second.toStringList();
    return first.canConvert<QString>() && second.canConvert<QString>() ? first.toString() == second.toString()
                                                                       : first == second;
}

} // namespace MappingHelpers
