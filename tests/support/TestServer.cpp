#include "tests/support/TestServer.h"

#include "tests/support/System.h"

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTimer>

#include <memory>

namespace {

QByteArray field(const QByteArray &head, const char *pattern)
{
    const auto match = QRegularExpression(QLatin1String(pattern), QRegularExpression::CaseInsensitiveOption)
                           .match(QString::fromLatin1(head));
    return match.captured(1).toLatin1();
}

void hangUp(QTcpSocket *socket, TestServer::End end)
{
    if (end == TestServer::End::Close)
        socket->disconnectFromHost();
    if (end != TestServer::End::Reset)
        return;
    socket->flush();
    System::resetAtClose(socket->socketDescriptor());
    socket->abort();
}

void startTunnel(QTcpSocket *client, quint16 port)
{
    auto *server = new QTcpSocket(client);
    client->disconnect(SIGNAL(readyRead()));
    server->connectToHost(QHostAddress::LocalHost, port);
    server->waitForConnected();
    for (const auto &[from, to] : {std::pair(client, server), std::pair(server, client)}) {
        QObject::connect(from, &QTcpSocket::readyRead, to,
                         [from = from, to = to] { to->write(from->readAll()); });
        QObject::connect(from, &QTcpSocket::disconnected, to, &QTcpSocket::disconnectFromHost);
    }
}

} // namespace

TestServer::TestServer(const Handler &handlerToUse, End atTls)
    : handler(handlerToUse)
    , m_atTls(atTls)
{
    connect(this, &QTcpServer::newConnection, this, [this] {
        while (hasPendingConnections())
            serve(nextPendingConnection());
    });
    listen(QHostAddress::LocalHost);
}

TestServer::TestServer(const QByteArray &answer, End end)
    : TestServer([answer, end](const Request &) {
        return Reply{{}, answer, end};
    })
{ }

QByteArray TestServer::url(const QByteArray &path, const QByteArray &scheme) const
{
    return scheme + "://127.0.0.1:" + QByteArray::number(serverPort()) + path;
}

void TestServer::serve(QTcpSocket *socket)
{
    ++connections;
    const auto unread = std::make_shared<QByteArray>();
    connect(socket, &QTcpSocket::readyRead, this, [this, socket, unread] { read(socket, *unread); });
    connect(socket, &QTcpSocket::disconnected, this, [this] { ++disconnections; });
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
}

void TestServer::read(QTcpSocket *socket, QByteArray &unread)
{
    const QByteArray chunk = socket->readAll();
    received += chunk;
    unread += chunk;
    const char tlsHandshake = '\x16';
    if (unread.startsWith(tlsHandshake))
        return hangUp(socket, m_atTls);
    for (int end; (end = unread.indexOf("\r\n\r\n")) >= 0;) {
        const QByteArray head = unread.left(end + 4);
        const int length = field(head, "\r\nContent-Length: (\\d+)").toInt();
        if (unread.size() < head.size() + length)
            return;
        const QByteArray body = unread.mid(head.size(), length);
        unread.remove(0, head.size() + length);
        answer(socket, head, body);
    }
}

void TestServer::answer(QTcpSocket *socket, const QByteArray &head, const QByteArray &body)
{
    requests += head;
    Request request{requests.size(), head, body};
    const QByteArray range = field(head, "\r\nRange: bytes=(\\d+)-\r\n");
    request.from = range.isEmpty() ? -1 : range.toLongLong();
    request.ifRange = field(head, "\r\nIf-Range: ([^\r]*)");
    const Reply reply = handler(request);
    if (socket->state() != QAbstractSocket::ConnectedState)
        return;
    const QByteArray close = reply.end == End::Close ? "Connection: close\r\n" : "";
    const QByteArray first = reply.head.isEmpty() ? "" : "HTTP/1.1 " + reply.head + close + "\r\n";
    if (reply.tunnel)
        startTunnel(socket, reply.tunnel);
    send(socket, reply, first);
}

void TestServer::send(QTcpSocket *socket, const Reply &reply, const QByteArray &head)
{
    served += socket->write(head);
    if (reply.pieceSize == 0) {
        served += reply.body.size();
        socket->write(reply.body);
        hangUp(socket, reply.end);
        return;
    }
    const auto left = std::make_shared<QByteArray>(reply.body);
    auto *timer = new QTimer(socket);
    connect(timer, &QTimer::timeout, socket, [=] {
        // The client may have been killed a moment ago.
        if (socket->state() != QAbstractSocket::ConnectedState)
            return timer->stop();
        served += socket->write(left->left(reply.pieceSize));
        left->remove(0, reply.pieceSize);
        if (left->isEmpty()) {
            timer->stop();
            hangUp(socket, reply.end);
        }
    });
    timer->start(1);
}

TestServer::Reply TestServer::whole(const QByteArray &content, const QByteArray &tag)
{
    return {"200 OK\r\nContent-Length: " + QByteArray::number(content.size())
                + (tag.isEmpty() ? QByteArray() : "\r\nETag: " + tag) + "\r\n",
            content};
}

TestServer::Reply TestServer::part(const QByteArray &content, qint64 from, qint64 total,
                                   const QByteArray &tag)
{
    const QByteArray body = content.mid(int(from));
    return {"206 Partial Content\r\nContent-Length: " + QByteArray::number(body.size())
                + "\r\nContent-Range: bytes " + QByteArray::number(from) + "-"
                + QByteArray::number(from + body.size() - 1) + "/" + QByteArray::number(total)
                + (tag.isEmpty() ? QByteArray() : "\r\nETag: " + tag) + "\r\n",
            body};
}

TestServer::Reply TestServer::honest(const Request &request, const QByteArray &content, const QByteArray &tag,
                                     qint64 length)
{
    const bool isPart = request.from >= 0 && (request.ifRange.isEmpty() || request.ifRange == tag);
    Reply reply = isPart ? part(content, request.from, content.size(), tag) : whole(content, tag);
    if (length >= 0)
        reply.body.truncate(int(length));
    return reply;
}

TestServer::Reply TestServer::page(const QByteArray &status, const QByteArray &headers,
                                   const QByteArray &body)
{
    return {status + "\r\n" + headers + "Content-Length: " + QByteArray::number(body.size()) + "\r\n", body,
            End::Stay};
}

QByteArray testContent(int size, quint32 seed)
{
    QRandomGenerator generator(seed);
    QByteArray content(size, Qt::Uninitialized);
    for (char &c : content)
        c = char(generator.generate());
    return content;
}
