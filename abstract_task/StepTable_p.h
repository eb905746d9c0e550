#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMetaObject>

/**
 * The steps of one task class, read from its meta-object once and kept for the life of the process.
 *
 * For one thread, that of the task manager.
 */
class StepTable
{
public:
    struct Step
    {
        QByteArray key;
        /// The index of the method for qt_metacall, or -1 when there is none of the right shape.
        int method = -1;
    };

    static const StepTable &of(const QMetaObject *meta);

    /// All steps of the most derived TaskStep, in the order of the enumeration.
    const QList<int> &order() const { return m_order; }
    /// Null for a value without a key.
    const Step *find(int step) const;

private:
    explicit StepTable(const QMetaObject *meta);
    void read(const QMetaObject *meta, int enumerator);

    QList<int> m_order;
    QHash<int, Step> m_steps;
};
