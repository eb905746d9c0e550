#pragma once

#include <QMetaEnum>
#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QVariant>

/**
 * What happened, in order, as text that a table's row can hold: "started, progress(50), finished(0)".
 *
 *     EventLog log;
 *     log.listen(&task, &CAbstractTask::taskFinished, "finished");
 *     ...
 *     QCOMPARE(log.take(), "step, finished(0)");
 */
class EventLog : public QObject
{
public:
    void add(const QString &event) { m_events.append(event); }

    /// Notes each emission of the signal under that name, with its arguments; an object shows as its class.
    template <typename Sender, typename Class, typename... Arguments>
    void listen(const Sender *sender, void (Class::*signal)(Arguments...), const char *name)
    {
        connect(sender, signal, this, [this, name](const Arguments &...arguments) {
            QStringList texts{textOf(arguments)...};
            add(QLatin1String(name)
                + (texts.isEmpty() ? QString() : QStringLiteral("(%1)").arg(texts.join(QLatin1Char(' ')))));
        });
    }

    /// What happened since the last take().
    QString take()
    {
        const QString text = m_events.join(QLatin1String(", "));
        m_events.clear();
        return text;
    }
    /// For a test that waits for an event.
    bool contains(const QString &event) const { return m_events.contains(event); }
    bool isEmpty() const { return m_events.isEmpty(); }

private:
    template <typename Value>
    static QString textOf(const Value &value)
    {
        using Plain = std::decay_t<Value>;
        if constexpr (std::is_enum_v<Plain> && QtPrivate::IsQEnumHelper<Plain>::Value)
            return QString::fromLatin1(QMetaEnum::fromType<Plain>().valueToKeys(int(value)));
        else if constexpr (std::is_enum_v<Plain>)
            return QString::number(int(value));
        else if constexpr (std::is_convertible_v<Plain, const QObject *>)
            return value ? QString::fromLatin1(static_cast<const QObject *>(value)->metaObject()->className())
                         : QStringLiteral("null");
        else
            return QVariant::fromValue(value).toString();
    }

    QStringList m_events;
};
