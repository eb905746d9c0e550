#pragma once

#include "gui/log/Log.h"
#include "gui/tasks/sign_in/CUserAuthDialog.h"
#include "tests/support/Files.h"
#include "tests/tasks/TaskFixture.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QtTest>

#include <functional>

/// Qt remarks on every answer that replaces a refused one. To be called from initTestCase().
inline void ignoreReplacedAnswers()
{
    static QtMessageHandler testHandler = nullptr;
    testHandler
        = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &context, const QString &text) {
              if (!text.contains(QLatin1String("overriding active cache entry")))
                  testHandler(type, context, text);
          });
}

inline QByteArray logFile()
{
    return fileContent(QString::fromUtf8(KovGui::logFilePath()));
}

inline void setPreference(const QByteArray &name, const QVariant &value)
{
    QSettings().setValue(QLatin1String("User Preferences/Proxy/") + QLatin1String(name), value);
}

/// The user's own proxy.
inline void useProxy(const QString &host, quint16 port)
{
    setPreference("Proxy Enabled", true);
    setPreference("Proxy Http Host", host);
    setPreference("Proxy Http Port", QString::number(port));
}

/// A server that keeps what it was asked, header by header, and answers each request by a function.
class RecordingServer : public QTcpServer
{
public:
    using Answer = std::function<QByteArray(const QByteArray &head)>;
    explicit RecordingServer(const Answer &answer)
    {
        connect(this, &QTcpServer::newConnection, this, [this, answer] {
            ++connections;
            QTcpSocket *socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket, answer] {
                QByteArray text = socket->property("rest").toByteArray() + socket->readAll();
                for (int end; (end = text.indexOf("\r\n\r\n")) >= 0; text.remove(0, end + 4)) {
                    heads << text.left(end + 4);
                    socket->write(answer(heads.last()));
                }
                // The inside of a tunnel.
                if (text.startsWith('\x16'))
                    return socket->abort();
                socket->setProperty("rest", text);
            });
        });
        listen(QHostAddress::LocalHost);
    }

    QNetworkProxy asProxy() const
    {
        return {QNetworkProxy::HttpProxy, QStringLiteral("127.0.0.1"), serverPort()};
    }
    /// The decoded credentials of each request; empty for a request without.
    QStringList attempts() const
    {
        QStringList list;
        for (const QByteArray &head : heads) {
            const auto match = QRegularExpression(QStringLiteral("Proxy-Authorization: Basic (\\S+)"))
                                   .match(QString::fromLatin1(head));
            list << QString::fromUtf8(QByteArray::fromBase64(match.captured(1).toLatin1()));
        }
        return list;
    }

    QByteArrayList heads;
    int connections = 0;
};

inline QByteArray response(const char *status, const QByteArray &headers = QByteArray(),
                           const QByteArray &body = "body")
{
    return QByteArray("HTTP/1.1 ") + status + "\r\n" + headers
           + "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

/// Passes on only what carries these credentials; answers in the server's place.
inline RecordingServer::Answer asksFor(const QByteArray &credentials)
{
    return [credentials](const QByteArray &head) {
        const bool isKnown = head.contains("Proxy-Authorization: Basic " + credentials.toBase64() + "\r\n");
        return isKnown ? response("200 OK")
                       : response("407 Who are you", "Proxy-Authenticate: Basic realm=\"test\"\r\n");
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
        const QString title = dialog->findChild<QLabel *>(QStringLiteral("m_lblTitle"))->text();
        seen << (title.contains(QLatin1String("incorrect")) ? QStringLiteral("retry")
                                                            : QStringLiteral("ask"));
        QString answer = m_answers.isEmpty() ? QStringLiteral("cancel") : m_answers.takeFirst();
        if (answer == QLatin1String("cancel"))
            return QTest::keyClick(dialog, Qt::Key_Escape);
        auto *remember = dialog->findChild<QCheckBox *>(QStringLiteral("m_ckbRemember"));
        remember->setChecked(answer.endsWith(QLatin1Char('!')));
        if (remember->isChecked())
            answer.chop(1);
        const int colon = answer.indexOf(QLatin1Char(':'));
        dialog->setUsername(answer.left(colon));
        auto *password = dialog->findChild<QLineEdit *>(QStringLiteral("m_lePassword"));
        password->clear();
        QTest::keyClicks(password, answer.mid(colon + 1));
        QTest::keyClick(password, Qt::Key_Return);
    }

    QStringList m_answers;
    const std::function<bool()> m_isReady;
    QPointer<CUserAuthDialog> m_answered;
    QTimer m_poll;
};
