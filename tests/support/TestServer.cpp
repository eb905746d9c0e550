#include "tests/programs/download/FaultServer.h"

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTimer>

#include <memory>

FaultServer::FaultServer(Handler handlerToUse)
    : handler(std::move(handlerToUse))
{
    listen(QHostAddress::LocalHost);
    connect(this, &QTcpServer::newConnection, this, [this] {
        QTcpSocket *socket = nextPendingConnection();
        const auto head = std::make_shared<QByteArray>();
        connect(socket, &QTcpSocket::readyRead, socket, [this, socket, head] {
            head->append(socket->readAll());
            if (head->endsWith("\r\n\r\n")) {
                const QByteArray complete = *head;
                head->clear();
                answer(socket, complete);
            }
        });
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    });
}

QByteArray FaultServer::url(const QByteArray &path) const
{
    return "http://127.0.0.1:" + QByteArray::number(serverPort()) + path;
}

void FaultServer::answer(QTcpSocket *socket, const QByteArray &head)
{
    requests += head;
    Request request{requests.size(), head, -1, {}};
    const QString text = QString::fromLatin1(head);
    const auto range = QRegularExpression(QStringLiteral("\r\nRange: bytes=(\\d+)-\r\n")).match(text);
    if (range.hasMatch())
        request.from = range.captured(1).toLongLong();
    request.ifRange
        = QRegularExpression(QStringLiteral("\r\nIf-Range: ([^\r]*)")).match(text).captured(1).toLatin1();
    const Reply reply = handler(request);
    const QByteArray close = reply.end == End::Close ? "Connection: close\r\n" : "";
    const QByteArray first = "HTTP/1.1 " + reply.head + close + "\r\n";
    served += first.size();
    if (socket->state() != QAbstractSocket::ConnectedState)
        return;
    socket->write(first);
    const auto finish = [socket, end = reply.end] {
        if (end == End::Close)
            socket->disconnectFromHost();
    };
    if (reply.pieceSize == 0) {
        served += reply.body.size();
        socket->write(reply.body);
        finish();
        return;
    }
    const auto left = std::make_shared<QByteArray>(reply.body);
    auto *timer = new QTimer(socket);
    connect(timer, &QTimer::timeout, socket, [this, socket, left, timer, finish, size = reply.pieceSize] {
        // The client may have been killed a moment ago.
        if (socket->state() != QAbstractSocket::ConnectedState)
            return timer->stop();
        served += socket->write(left->left(size));
        left->remove(0, size);
        if (left->isEmpty()) {
            timer->stop();
            finish();
        }
    });
    timer->start(1);
}

FaultServer::Reply FaultServer::whole(const QByteArray &content, const QByteArray &tag)
{
    return {"200 OK\r\nContent-Length: " + QByteArray::number(content.size())
                + (tag.isEmpty() ? QByteArray() : "\r\nETag: " + tag) + "\r\n",
            content};
}

FaultServer::Reply FaultServer::part(const QByteArray &content, qint64 from, qint64 total,
                                     const QByteArray &tag)
{
    const QByteArray body = content.mid(int(from));
    return {"206 Partial Content\r\nContent-Length: " + QByteArray::number(body.size())
                + "\r\nContent-Range: bytes " + QByteArray::number(from) + "-"
                + QByteArray::number(from + body.size() - 1) + "/" + QByteArray::number(total)
                + (tag.isEmpty() ? QByteArray() : "\r\nETag: " + tag) + "\r\n",
            body};
}

FaultServer::Reply FaultServer::honest(const Request &request, const QByteArray &content,
                                       const QByteArray &tag, qint64 length)
{
    const bool isPart = request.from >= 0 && (request.ifRange.isEmpty() || request.ifRange == tag);
    Reply reply = isPart ? part(content, request.from, content.size(), tag) : whole(content, tag);
    if (length >= 0)
        reply.body.truncate(int(length));
    return reply;
}

QByteArray testContent(int size, quint32 seed)
{
    QRandomGenerator generator(seed);
    QByteArray content(size, Qt::Uninitialized);
    for (char &c : content)
        c = char(generator.generate());
    return content;
}
