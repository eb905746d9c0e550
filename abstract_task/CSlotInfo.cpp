#include "abstract_task/CSlotInfo.h"

#include "abstract_task/TasksLog_p.h"

#include <QMetaMethod>
#include <QThread>
#include <QVarLengthArray>

namespace {

constexpr int maxParameters = 10;

QByteArray normalisedSignature(const QString &slot)
{
    // The same place calls back again and again.
    static thread_local std::pair<QString, QByteArray> last;
    if (last.first == slot)
        return last.second;
    QByteArray text = slot.trimmed().toUtf8();
    // The SLOT and SIGNAL macros put the kind of method in front.
    if (!text.isEmpty() && text.at(0) >= '0' && text.at(0) <= '2')
        text.remove(0, 1);
    last = {slot, QMetaObject::normalizedSignature(text.constData())};
    return last.second;
}

/// "QMap<int,QString>,int" holds two types: commas inside a template's brackets do not count.
QVector<QByteArray> parameterNames(const QByteArray &signature)
{
    QVector<QByteArray> names;
    int depth = 0;
    int begin = signature.indexOf('(') + 1;
    const int end = signature.lastIndexOf(')');
    if (begin >= end)
        return names;
    for (int i = begin; i < end; ++i) {
        const char c = signature.at(i);
        depth += c == '<' || c == '(' ? 1 : 0;
        depth -= c == '>' || c == ')' ? 1 : 0;
        if (c == ',' && depth == 0) {
            names.append(signature.mid(begin, i - begin));
            begin = i + 1;
        }
    }
    names.append(signature.mid(begin, end - begin));
    return names;
}

bool takes(const QMetaMethod &method, const QVector<QByteArray> &names)
{
    if (method.parameterCount() != names.size())
        return false;
    for (int i = 0; i < names.size(); ++i) {
        const int type = QMetaType::type(names.at(i).constData());
        if (type == QMetaType::UnknownType || type != method.parameterType(i))
            return false;
    }
    return true;
}

QMetaMethod findMethod(const QMetaObject *meta, const QByteArray &signature)
{
    const int index = meta->indexOfMethod(signature.constData());
    if (index >= 0)
        return meta->method(index);

    // The same types by other names: a slot declared with int is written with KOV_RESULT, and the other way
    // round.
    const int bracket = signature.indexOf('(');
    if (bracket <= 0 || !signature.endsWith(')'))
        return QMetaMethod();
    const QByteArray name = signature.left(bracket);
    const QVector<QByteArray> names = parameterNames(signature);
    for (int i = meta->methodCount() - 1; i >= 0; --i) {
        const QMetaMethod method = meta->method(i);
        if (method.name() == name && takes(method, names))
            return method;
    }
    return QMetaMethod();
}

bool isObjectPointer(int type)
{
    return QMetaType::typeFlags(type) & QMetaType::PointerToQObject;
}

/// The value in the form that a parameter of the wanted type reads; null when it cannot be had.
const void *fit(const CSlotInfo::Argument &offered, int wanted, QVariant *converted)
{
    if (wanted == QMetaType::UnknownType)
        return nullptr;
    if (offered.typeId == wanted)
        return offered.data;
    if (offered.typeId == QMetaType::QVariant) {
        *converted = *static_cast<const QVariant *>(offered.data);
        return converted->convert(wanted) ? converted->constData() : nullptr;
    }
    if (isObjectPointer(offered.typeId) && isObjectPointer(wanted)) {
        QObject *object = *static_cast<QObject *const *>(offered.data);
        const QMetaObject *meta = QMetaType::metaObjectForType(wanted);
        return !object || (meta && meta->cast(object)) ? offered.data : nullptr;
    }
    return nullptr;
}

} // namespace

CSlotInfo::CSlotInfo(QObject *receiver, const QString &slot, const QVariant &params, bool flag)
    : m_receiver(receiver)
    , m_given(receiver)
    , m_slot(slot)
    , m_params(params)
    , m_flag(flag)
{ }

CSlotInfo::CSlotInfo(QObject *receiver, const char *slot, const QVariant &params, bool flag)
    : CSlotInfo(receiver, QString::fromUtf8(slot), params, flag)
{ }

CSlotInfo::CSlotInfo(QObject *receiver, const std::shared_ptr<const Function> &function,
                     const QVariant &params, bool flag)
    : CSlotInfo(receiver, QString(), params, flag)
{
    m_function = function;
}

/// A call whose checks are done.
struct CSlotInfo::Call
{
    QMetaMethod method;
    int count = 0;
    int types[maxParameters];
    const void *values[maxParameters];
    QVariant converted[maxParameters];
};

QString CSlotInfo::name() const
{
    if (!m_function)
        return m_slot;
    const char *receiver = m_receiver ? m_receiver->metaObject()->className() : "a receiver that is gone";
    return QStringLiteral("a function of %1").arg(QLatin1String(receiver));
}

/// Null when all is well, else the reason why the slot cannot be called.
const char *CSlotInfo::prepare(const QVector<Argument> &arguments, bool wantsAnswer, Call *call) const
{
    if (!m_function) {
        call->method = findMethod(m_receiver->metaObject(), normalisedSignature(m_slot));
        if (!call->method.isValid())
            return "no such slot";
    }
    call->count = m_function ? m_function->parameterTypes.size() : call->method.parameterCount();
    if (call->count > arguments.size() || call->count > maxParameters)
        return "it takes more arguments than are given";
    for (int i = 0; i < call->count; ++i) {
        call->types[i] = m_function ? m_function->parameterTypes.at(i) : call->method.parameterType(i);
        call->values[i] = fit(arguments.at(i), call->types[i], &call->converted[i]);
        if (!call->values[i])
            return "the type of an argument does not match";
    }
    const bool answers = m_function ? m_function->answers : call->method.returnType() == QMetaType::Bool;
    if (wantsAnswer && (m_receiver->thread() != QThread::currentThread() || !answers))
        return "it gives no answer";
    return nullptr;
}

bool CSlotInfo::canInvokeWith(const QVector<Argument> &arguments, bool wantsAnswer) const
{
    Call call;
    return m_receiver && !isEmpty() && !prepare(arguments, wantsAnswer, &call);
}

bool CSlotInfo::invokeWith(const QVector<Argument> &arguments, bool *answer) const
{
    QObject *receiver = m_receiver.data();
    if (!receiver || isEmpty())
        return false;
    Call call;
    if (const char *reason = prepare(arguments, answer != nullptr, &call)) {
        Tasks::log(1, "(!)Warning: Can't call slot %s of %s: %s", qUtf8Printable(name()),
                   receiver->metaObject()->className(), reason);
        return false;
    }
    const bool sameThread = receiver->thread() == QThread::currentThread();
    if (m_function && sameThread) {
        // The record may go while its function runs.
        const std::shared_ptr<const Function> function = m_function;
        const bool answered = function->call(call.values);
        if (answer)
            *answer = answered;
        return true;
    }
    if (m_function) {
        QVector<QVariant> copies;
        for (int i = 0; i < call.count; ++i)
            copies.append(QVariant(call.types[i], call.values[i]));
        const auto callLater = [function = m_function, copies] {
            const void *values[maxParameters];
            for (int i = 0; i < copies.size(); ++i)
                values[i] = copies.at(i).constData();
            function->call(values);
        };
        return QMetaObject::invokeMethod(receiver, callLater, Qt::QueuedConnection);
    }

    if (sameThread) {
        // As QMetaMethod::invoke would, which compares all types by their names once more.
        void *values[maxParameters + 1] = {answer};
        for (int i = 0; i < call.count; ++i)
            values[i + 1] = const_cast<void *>(call.values[i]);
        receiver->qt_metacall(QMetaObject::InvokeMetaMethod, call.method.methodIndex(), values);
        return true;
    }
    QGenericArgument values[maxParameters];
    for (int i = 0; i < call.count; ++i)
        values[i] = QGenericArgument(QMetaType::typeName(call.types[i]), const_cast<void *>(call.values[i]));
    return call.method.invoke(receiver, Qt::QueuedConnection, values[0], values[1], values[2], values[3],
                              values[4], values[5], values[6], values[7], values[8], values[9]);
}
