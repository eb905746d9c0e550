#include "abstract_task/CSlotInfo.h"

#include "abstract_task/TasksLog_p.h"

#include <QMetaMethod>
#include <QThread>
#include <QVarLengthArray>

namespace {

constexpr int MaxParameters = 10;

QByteArray normalisedSignature(const QString &slot)
{
    QByteArray text = slot.trimmed().toUtf8();
    // The SLOT and SIGNAL macros put the kind of method in front.
    if (!text.isEmpty() && text.at(0) >= '0' && text.at(0) <= '2')
        text.remove(0, 1);
    return QMetaObject::normalizedSignature(text.constData());
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

bool CSlotInfo::invokeWith(const QVector<Argument> &arguments, bool *answer) const
{
    QObject *receiver = m_receiver.data();
    if (!receiver || m_slot.isEmpty())
        return false;

    const QMetaMethod method = findMethod(receiver->metaObject(), normalisedSignature(m_slot));
    const auto refuse = [&](const char *reason) {
        Tasks::log(1, "Can't call slot %s of %s: %s", qUtf8Printable(m_slot),
                   receiver->metaObject()->className(), reason);
        return false;
    };
    if (!method.isValid())
        return refuse("no such slot");
    const int count = method.parameterCount();
    if (count > arguments.size() || count > MaxParameters)
        return refuse("it takes more arguments than are given");

    QVarLengthArray<QVariant, MaxParameters> converted(count);
    QGenericArgument values[MaxParameters];
    for (int i = 0; i < count; ++i) {
        const int type = method.parameterType(i);
        const void *data = fit(arguments.at(i), type, &converted[i]);
        if (!data)
            return refuse("the type of an argument does not match");
        values[i] = QGenericArgument(QMetaType::typeName(type), const_cast<void *>(data));
    }

    const bool sameThread = receiver->thread() == QThread::currentThread();
    if (answer != nullptr && (!sameThread || method.returnType() != QMetaType::Bool))
        return refuse("it gives no answer");
    const QGenericReturnArgument result
        = answer ? QGenericReturnArgument("bool", answer) : QGenericReturnArgument();
    return method.invoke(receiver, sameThread ? Qt::DirectConnection : Qt::QueuedConnection, result,
                         values[0], values[1], values[2], values[3], values[4], values[5], values[6],
                         values[7], values[8], values[9]);
}
