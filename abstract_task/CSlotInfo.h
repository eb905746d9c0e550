#pragma once

#include "abstract_task/AbstractTaskGlobal.h"

#include <QMetaType>
#include <QPointer>
#include <QString>
#include <QVariant>
#include <QVector>

#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

/**
 * A callback: a guarded receiver, the slot to call, one variant of the caller's and a flag.
 *
 * The slot is a method of the receiver or any function with the receiver as its context object:
 *
 *     CSlotInfo(this, &CTaskFetch::onProxyFound)
 *     CSlotInfo(this, [this](KOV_RESULT result) { subTaskCompleted(result); })
 *
 * so that a wrong name does not compile; or it is written as the SLOT macro writes it ("1onDone(KOV_RESULT,
 * CAbstractTask*)"), with or without the leading digit and with any blanks, and normalised before use. A
 * value type; it owns nothing but the function and what that captured.
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
    template <typename Callable, typename = void>
    struct CallOperator
    {
        using Type = Callable;
    };
    template <typename Callable>
    struct CallOperator<Callable, std::void_t<decltype(&Callable::operator())>>
    {
        using Type = decltype(&Callable::operator());
    };
    /// Exists for what can be called, so that texts take the other constructors.
    template <typename Callable,
              typename Pointer = QtPrivate::FunctionPointer<typename CallOperator<Callable>::Type>>
    using SignatureOf = std::enable_if_t<(Pointer::ArgumentCount >= 0), Pointer>;

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
    /// @param function  a method of the receiver's class or a base of it, a function object (no generic
    /// lambda)
    ///                  or a plain function; of its parameters invoke() asks what it asks of a slot's
    template <typename Receiver, typename Callable, typename Signature = SignatureOf<Callable>>
    CSlotInfo(Receiver *receiver, Callable function, const QVariant &params = QVariant(), bool flag = false)
        : CSlotInfo(receiver,
                    wrap<Signature>(receiver, std::move(function), typename Signature::Arguments(),
                                    std::make_index_sequence<Signature::ArgumentCount>()),
                    params, flag)
    { }

    /// Null when none was given, and after the receiver was destroyed.
    QObject *receiver() const { return m_receiver.data(); }
    /// As it was given; empty for a function.
    QString slot() const { return m_slot; }
    /// For the log: the slot as it was given, or "a function of CLASS".
    QString name() const;
    QVariant params() const { return m_params; }
    /// Kept for the owner of the record; invoke() does not look at it.
    bool flag() const { return m_flag; }
    void setFlag(bool flag) { m_flag = flag; }
    /// True when no receiver or no slot was ever given. A record whose receiver died is not empty.
    bool isEmpty() const { return !m_given || (m_slot.isEmpty() && !m_function); }

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

    /// Whether invoke() would call with these arguments, without the call and without a line in the log. Ask
    /// it where a record is handed over, so that a mistyped slot is refused there.
    template <typename... Args>
    bool canInvoke(const Args &...args) const
    {
        return canInvokeWith({Argument{qMetaTypeId<Args>(), &args}...}, false);
    }
    /// The same for invokeForBool().
    template <typename... Args>
    bool canInvokeForBool(const Args &...args) const
    {
        return canInvokeWith({Argument{qMetaTypeId<Args>(), &args}...}, true);
    }
    bool canInvokeWith(const QVector<Argument> &arguments, bool wantsAnswer) const;

private:
    struct Function
    {
        QVector<int> parameterTypes;
        bool answers;
        std::function<bool(const void *const *values)> call;
    };
    struct Call;

    CSlotInfo(QObject *receiver, const std::shared_ptr<const Function> &function, const QVariant &params,
              bool flag);

    template <typename Signature, typename Receiver, typename Callable, typename... Parameters,
              std::size_t... Indexes>
    static std::shared_ptr<const Function> wrap(Receiver *receiver, Callable function,
                                                QtPrivate::List<Parameters...>,
                                                std::index_sequence<Indexes...>)
    {
        const auto call = [receiver, function = std::move(function)](const void *const *values) mutable {
            Q_UNUSED(values)
            const auto perform = [&](const auto &...arguments) -> decltype(auto) {
                if constexpr (std::is_member_function_pointer_v<Callable>)
                    return (receiver->*function)(arguments...);
                else
                    return function(arguments...);
            };
            if constexpr (std::is_same_v<typename Signature::ReturnType, bool>)
                return perform(*static_cast<const std::decay_t<Parameters> *>(values[Indexes])...);
            perform(*static_cast<const std::decay_t<Parameters> *>(values[Indexes])...);
            return false;
        };
        return std::make_shared<const Function>(Function{{qMetaTypeId<std::decay_t<Parameters>>()...},
                                                         std::is_same_v<typename Signature::ReturnType, bool>,
                                                         call});
    }

    const char *prepare(const QVector<Argument> &arguments, bool wantsAnswer, Call *call) const;

    QPointer<QObject> m_receiver;
    bool m_given = false;
    QString m_slot;
    std::shared_ptr<const Function> m_function;
    QVariant m_params;
    bool m_flag = false;
};

Q_DECLARE_METATYPE(CSlotInfo)
