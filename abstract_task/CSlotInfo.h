#pragma once

#include "abstract_task/AbstractTaskGlobal.h"

#include <QMetaType>
#include <QPointer>
#include <QString>
#include <QVariant>
#include <QVector>

/**
 * A callback: a guarded receiver, the slot to call, one variant of the caller's and a flag.
 *
 * The slot is written as the SLOT macro writes it ("1onDone(KOV_RESULT, CAbstractTask*)"), with or without
 * the leading digit and with any blanks; it is normalised before use. A value type; it owns nothing.
 *
 * invoke() is the one way in which tasks and messages call back. The slot may take fewer arguments than are
 * offered (none to all of them, from the first on); what it takes must match in type. Two things bend: a
 * QVariant offered to a parameter of another type is converted, and a pointer to an object fits a parameter
 * of any class that the object derives from. Private slots, inherited and virtual ones, invokable methods and
 * signals can be called.
 *
 * A receiver on the calling thread is called directly, one on another thread through its event loop, with
 * copies of the values. The receiver must not be deleted by its thread while another thread is inside
 * invoke().
 *
 * A receiver that is gone, a slot that does not exist, arguments that do not match or convert: nothing is
 * called and the result is false; what looks like a mistake (all but a receiver that is gone) is logged as a
 * warning.
 */
class ABSTRACTTASK_EXPORT CSlotInfo
{
public:
    /// One offered argument: a copy of the value travels with a queued call.
    struct Argument
    {
        int typeId;
        const void *data;
    };

    CSlotInfo() = default;
    CSlotInfo(QObject *receiver, const QString &slot, const QVariant &params = QVariant(), bool flag = false);
    CSlotInfo(QObject *receiver, const char *slot, const QVariant &params = QVariant(), bool flag = false);

    /// Null when none was given, and after the receiver was destroyed.
    QObject *receiver() const { return m_receiver.data(); }
    /// As it was given.
    QString slot() const { return m_slot; }
    QVariant params() const { return m_params; }
    /// Kept for the owner of the record; invoke() does not look at it.
    bool flag() const { return m_flag; }
    void setFlag(bool flag) { m_flag = flag; }
    /// True when no receiver or no slot was ever given. A record whose receiver died is not empty.
    bool isEmpty() const { return !m_given || m_slot.isEmpty(); }

    /// Calls the slot with the arguments, in order: `slot.invoke(result, task)`.
    template <typename... Args>
    bool invoke(const Args &...args) const
    {
        return invokeWith({Argument{qMetaTypeId<Args>(), &args}...}, nullptr);
    }
    /// The same for a slot that answers. False, and nothing is called, when the slot declares no bool result
    /// or its receiver lives on another thread; the answer is then left as it was.
    template <typename... Args>
    bool invokeForBool(bool *answer, const Args &...args) const
    {
        return invokeWith({Argument{qMetaTypeId<Args>(), &args}...}, answer);
    }

    /// What the two above come down to; a null `answer` asks for none.
    bool invokeWith(const QVector<Argument> &arguments, bool *answer) const;

private:
    QPointer<QObject> m_receiver;
    bool m_given = false;
    QString m_slot;
    QVariant m_params;
    bool m_flag = false;
};

Q_DECLARE_METATYPE(CSlotInfo)
