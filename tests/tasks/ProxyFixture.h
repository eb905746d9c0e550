#pragma once

#include "gui/log/Log.h"
#include "gui/tasks/sign_in/CUserAuthDialog.h"
#include "tests/support/Files.h"
#include "tests/support/ReplacedAnswers.h"
#include "tests/support/TestServer.h"
#include "tests/tasks/TaskFixture.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QNetworkProxy>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QTimer>
#include <QtTest>

#include <functional>

inline QByteArray logFile()
{
    return fileContent(QString::fromUtf8(KovGui::logFilePath()));
}

inline void setPreference(const QByteArray &name, const QVariant &value)
{
    QSettings().setValue("User Preferences/Proxy/" + QLatin1String(name), value);
}

/// The user's own proxy.
inline void useProxy(const QString &host, quint16 port)
{
    setPreference("Proxy Enabled", true);
    setPreference("Proxy Http Host", host);
    setPreference("Proxy Http Port", QString::number(port));
}

inline QNetworkProxy asProxy(const TestServer &server)
{
    return {QNetworkProxy::HttpProxy, "127.0.0.1", server.serverPort()};
}

/// The decoded credentials of each request; empty for a request without.
inline QStringList attempts(const TestServer &server)
{
    QStringList list;
    for (const QByteArray &head : server.requests) {
        const auto match
            = QRegularExpression("Proxy-Authorization: Basic (\\S+)").match(QString::fromLatin1(head));
        list << QString::fromUtf8(QByteArray::fromBase64(match.captured(1).toLatin1()));
    }
    return list;
}

/// Passes on only what carries these credentials; answers in the server's place.
inline TestServer::Handler asksFor(const QByteArrayList &credentials)
{
    return [credentials](const TestServer::Request &request) {
        const bool isKnown
            = std::any_of(credentials.begin(), credentials.end(), [&request](const QByteArray &known) {
                  return request.head.contains("Proxy-Authorization: Basic " + known.toBase64() + "\r\n");
              });
        return isKnown ? TestServer::page("200 OK")
                       : TestServer::page("407 Who are you", "Proxy-Authenticate: Basic realm=\"test\"\r\n");
    };
}

/// Answers the dialogs in turn: "user:password", with a "!" behind it to remember it, or "cancel".
class Person : public QObject
{
public:
    /// @param isReady  the person waits until it returns true
    explicit Person(
        const QStringList &answers, const std::function<bool()> &isReady = [] { return true; })
        : m_answers(answers)
        , m_isReady(isReady)
    {
        m_poll.setInterval(5);
        connect(&m_poll, &QTimer::timeout, this, &Person::look);
        m_poll.start();
    }
    QStringList seen; ///< "ask" or "retry" for each dialog

private:
    void look()
    {
        auto *dialog = qobject_cast<CUserAuthDialog *>(QApplication::activeModalWidget());
        if (!dialog || dialog == m_answered || !m_isReady())
            return;
        m_answered = dialog;
        const QString title = dialog->findChild<QLabel *>("m_lblTitle")->text();
        const bool isRetry = title.contains("incorrect");
        seen << (isRetry ? "retry" : "ask");
        // What is typed again must not stand there in clear text.
        if (isRetry && dialog->focusWidget()->objectName() != "m_lePassword")
            seen << "wrong field";
        QString answer = m_answers.isEmpty() ? "cancel" : m_answers.takeFirst();
        if (answer == "cancel")
            return QTest::keyClick(dialog, Qt::Key_Escape);
        auto *remember = dialog->findChild<QCheckBox *>("m_ckbRemember");
        remember->setChecked(answer.endsWith('!'));
        if (remember->isChecked())
            answer.chop(1);
        const int colon = answer.indexOf(':');
        dialog->setUsername(answer.left(colon));
        auto *password = dialog->findChild<QLineEdit *>("m_lePassword");
        password->setText(answer.mid(colon + 1));
        QTest::keyClick(password, Qt::Key_Return);
    }

    QStringList m_answers;
    const std::function<bool()> m_isReady;
    QPointer<CUserAuthDialog> m_answered;
    QTimer m_poll;
};
