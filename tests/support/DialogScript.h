#pragma once

#include "gui/messages/CMessageManager.h"
#include "gui/messages/box/CMessageBoxWndBase.h"
#include "tests/support/EventLog.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEvent>
#include <QLineEdit>
#include <QPointer>
#include <QTimer>

/**
 * Answers the windows that appear, in order, as a script says, and tells what appeared.
 *
 *     DialogScript script("CUserAuthDialog m_leName=joe m_pbOk; CMessageBox:80015206 m_pbButton1");
 *     ...
 *     QCOMPARE(script.shown(), script.text());
 *
 * A line is a window's class, for a message with its code in hexadecimal, and what is done: a button by its
 * object name is clicked, "name=text" fills a field, "close" closes the window, "delete" takes it away;
 * without anything it stays as it is. Each answer comes from the event loop, once the window is there. A
 * window that the script does not expect is closed, so that no loop is left open, and shown() says
 * "unexpected". One at a time.
 */
class DialogScript : public QObject
{
public:
    /// @param ignoredClasses  windows that only inform, such as progress
    /// @param log  gets each window that appears, in order with everything else; may be null
    explicit DialogScript(const QString &script, const QStringList &ignoredClasses = {},
                          EventLog *log = nullptr)
        : m_ignored(ignoredClasses)
        , m_log(log)
    {
        for (const QString &line : script.split(';', Qt::SkipEmptyParts))
            m_lines.append(line.simplified());
        connect(CMessageManager::instance(), &CMessageManager::aboutToShowMessage, this,
                [this](const Messaging::MessageData &data, QWidget *, CMessageBoxWndBase *window) {
                    window->setProperty("messageCode", uint(data.code));
                });
        qApp->installEventFilter(this);
    }

    /// The script in the form of shown().
    QString text() const { return m_lines.join("; "); }
    /// What appeared and was done about it, in the script's own words.
    QString shown() const { return m_shown.join("; "); }
    /// Every window of the script was there.
    bool isDone() const { return m_shown.size() >= m_lines.size(); }

protected:
    bool eventFilter(QObject *object, QEvent *event) override
    {
        auto *const window = event->type() == QEvent::Show ? qobject_cast<QWidget *>(object) : nullptr;
        const bool counts = window && window->isWindow() && !event->spontaneous()
                            && (window->windowType() == Qt::Window || window->windowType() == Qt::Dialog
                                || window->windowType() == Qt::Sheet || window->windowType() == Qt::Tool);
        if (counts && !m_ignored.contains(QString::fromLatin1(window->metaObject()->className()))) {
            QTimer::singleShot(0, window, [this, self = QPointer<DialogScript>(this), window] {
                if (self && window->isVisible())
                    answer(window);
            });
        }
        return false;
    }

private:
    static QString nameOf(const QWidget *window)
    {
        const QString className = QString::fromLatin1(window->metaObject()->className());
        const QVariant code = window->property("messageCode");
        return code.isValid() ? className + ':' + QString::number(code.toUInt(), 16) : className;
    }

    void answer(QWidget *window)
    {
        const QPointer<QWidget> guarded(window);
        const QString name = nameOf(window);
        if (m_log)
            m_log->add(name);
        QStringList words = m_lines.value(m_shown.size()).split(' ');
        if (words.takeFirst() != name) {
            m_shown.append(name + " unexpected");
            end(guarded);
            return;
        }
        m_shown.append(name);
        const int place = m_shown.size() - 1;
        for (const QString &word : qAsConst(words)) {
            // Noted first: the click may bring the next window.
            m_shown[place] += ' ' + word;
            if (!guarded || !perform(window, word)) {
                m_shown[place] += " impossible";
                end(guarded);
                return;
            }
        }
    }

    /// Hidden, too: one that refuses to close keeps its loop.
    static void end(const QPointer<QWidget> &window)
    {
        if (window)
            window->close();
        if (window)
            window->hide();
    }

    static bool perform(QWidget *window, const QString &word)
    {
        if (word == "close")
            return window->close();
        if (word == "delete") {
            delete window;
            return true;
        }
        const QString name = word.section('=', 0, 0);
        if (auto *const field = window->findChild<QLineEdit *>(name)) {
            field->setText(word.section('=', 1));
            return field->isVisible() && field->isEnabled();
        }
        auto *const button = window->findChild<QAbstractButton *>(name);
        if (!button || !button->isVisible() || !button->isEnabled())
            return false;
        button->click();
        return true;
    }

    QStringList m_lines;
    QStringList m_shown;
    const QStringList m_ignored;
    const QPointer<EventLog> m_log;
};
