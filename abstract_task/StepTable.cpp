#include "abstract_task/StepTable_p.h"

#include <QMetaEnum>
#include <QMetaMethod>

#include <memory>
#include <unordered_map>

namespace {

int methodOf(const QMetaObject *meta, QByteArray key)
{
    key[0] = QChar::fromLatin1(key.at(0)).toLower().toLatin1();
    key.append("()");
    const int index = meta->indexOfMethod(key.constData());
    if (index < 0 || meta->method(index).returnType() != QMetaType::Int)
        return -1;
    return index;
}

} // namespace

StepTable::StepTable(const QMetaObject *meta)
{
    // A class may extend the steps of its base in an enumeration of its own: the derived one names the order,
    // both can be looked up.
    for (const QMetaObject *owner = meta; owner; owner = owner->superClass()) {
        for (int i = owner->enumeratorOffset(); i < owner->enumeratorCount(); ++i) {
            if (qstrcmp(owner->enumerator(i).name(), "TaskStep") == 0)
                read(meta, i);
        }
    }
}

void StepTable::read(const QMetaObject *meta, int enumerator)
{
    const QMetaEnum steps = meta->enumerator(enumerator);
    const bool isMostDerived = m_steps.isEmpty();
    for (int i = 0; i < steps.keyCount(); ++i) {
        if (m_steps.contains(steps.value(i)))
            continue;
        const QByteArray key = steps.key(i);
        m_steps.insert(steps.value(i), {key, methodOf(meta, key)});
        if (isMostDerived)
            m_order.append(steps.value(i));
    }
}

const StepTable &StepTable::of(const QMetaObject *meta)
{
    static std::unordered_map<const QMetaObject *, std::unique_ptr<StepTable>> tables;
    std::unique_ptr<StepTable> &table = tables[meta];
    if (!table)
        table.reset(new StepTable(meta));
    return *table;
}

const StepTable::Step *StepTable::find(int step) const
{
    const auto found = m_steps.constFind(step);
    return found == m_steps.cend() ? nullptr : &*found;
}
