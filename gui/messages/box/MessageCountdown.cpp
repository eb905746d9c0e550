#include "gui/messages/box/MessageCountdown_p.h"

#include <QApplication>
#include <QEvent>
#include <QRegularExpression>
#include <QTimer>
#include <QWidget>

namespace {

constexpr qint64 defaultSeconds = 60;
constexpr int tickMilliseconds = 1000;

const QRegularExpression &pattern()
{
    static const QRegularExpression pattern(QStringLiteral("@KOV_GUI_STD_SECONDS_TIMER/?(\\d+)?"));
    return pattern;
}

bool holdsPlaceholder(const QString &text)
{
    return text.contains(QLatin1String("@KOV_GUI_STD_SECONDS_TIMER"));
}

/// The seconds that the texts ask for; the first number counts.
qint64 secondsOf(const QString &text)
{
    QRegularExpressionMatchIterator matches = pattern().globalMatch(text);
    while (matches.hasNext()) {
        bool ok = false;
        const qint64 seconds = matches.next().captured(1).toLongLong(&ok);
        if (ok)
            return seconds;
    }
    return defaultSeconds;
}

bool isTouch(QEvent::Type type)
{
    return type == QEvent::KeyPress || type == QEvent::MouseButtonPress || type == QEvent::Wheel
           || type == QEvent::TouchBegin;
}

} // namespace

MessageCountdown::MessageCountdown(QWidget *box)
    : QObject(box)
    , m_box(box)
{ }

void MessageCountdown::setTexts(const QString &message, const QString &description)
{
    QString texts;
    for (const QString &text : {message, description}) {
        if (holdsPlaceholder(text))
            texts += text + QLatin1Char('\n');
    }
    // A text without a placeholder that changes beside one with it changes nothing here.
    if (texts == m_texts)
        return;
    m_texts = texts;
    if (m_texts.isEmpty())
        return stop();
    m_hasRunOut = false;
    m_initial = secondsOf(m_texts);
    if (!isCounting() && !m_touched)
        m_remaining = m_initial;
    beginWhenWanted();
}

void MessageCountdown::beginWhenWanted()
{
    // Through the queue: a count of 0 would answer, and so perhaps delete, the box while it is being shown.
    if (!m_texts.isEmpty() && m_box->isVisible())
        QTimer::singleShot(0, this, &MessageCountdown::begin);
}

QString MessageCountdown::filled(QString text) const
{
    if (holdsPlaceholder(text))
        text.replace(pattern(), QString::number(m_remaining));
    return text;
}

void MessageCountdown::begin()
{
    if (isCounting() || m_touched || m_hasRunOut || m_texts.isEmpty() || !m_box->isVisible())
        return;
    if (!m_timer) {
        m_timer = new QTimer(this);
        m_timer->setObjectName(QStringLiteral("m_timerCountdown"));
        connect(m_timer, &QTimer::timeout, this, &MessageCountdown::tick);
    }
    m_remaining = m_initial;
    m_timer->start(tickMilliseconds);
    if (stopsWhenTouched)
        qApp->installEventFilter(this);
    tick();
}

bool MessageCountdown::isCounting() const
{
    return m_timer && m_timer->isActive();
}

void MessageCountdown::stop()
{
    if (!m_timer)
        return;
    m_timer->stop();
    qApp->removeEventFilter(this);
}

void MessageCountdown::tick()
{
    if (!m_box->isVisible())
        return;
    Q_EMIT ticked();
    if (--m_remaining >= 0)
        return;
    m_remaining = 0;
    m_hasRunOut = true;
    stop();
    Q_EMIT ranOut();
}

bool MessageCountdown::eventFilter(QObject *watched, QEvent *event)
{
    const auto *widget = isTouch(event->type()) ? qobject_cast<QWidget *>(watched) : nullptr;
    if (widget && (widget == m_box || m_box->isAncestorOf(widget))) {
        m_touched = true;
        stop();
    }
    return QObject::eventFilter(watched, event);
}
