#pragma once

#include "abstract_task/AbstractTaskGlobal.h"

#include <QHash>
#include <QString>
#include <QVariant>

/**
 * Names a task: its kind and its parameters. Two identifiers with the same kind and parameters name the same
 * task.
 *
 * Identifier classes of a library derive from it, fix the kind and add their parameters in the constructor,
 * and do nothing else.
 *
 * Equality compares parameters by name, type and value: true, 1 and "1" differ, and so do a null and an empty
 * text only where their types differ.
 */
class ABSTRACTTASK_EXPORT CTaskGenericId
{
public:
    explicit CTaskGenericId(unsigned type);
    CTaskGenericId(const CTaskGenericId &other);
    CTaskGenericId &operator=(const CTaskGenericId &other);
    virtual ~CTaskGenericId();

    /// The task kind, a value of the enumeration given to Tasks::init.
    unsigned type() const;

    /// Adds a positional parameter. Its name is its position in decimal, "0" first, named parameters counted
    /// as well.
    void addParam(const QVariant &value);
    /// Adds a named parameter; an existing one of that name is replaced.
    void insertParam(const QString &name, const QVariant &value);
    QHash<QString, QVariant> params() const;

    bool operator==(const CTaskGenericId &other) const;
    bool operator!=(const CTaskGenericId &other) const { return !(*this == other); }

private:
    unsigned m_type;
    QHash<QString, QVariant> m_params;
};
