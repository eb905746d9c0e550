#pragma once

#include <QByteArray>
#include <QList>
#include <QTcpServer>

#include <functional>

class QTcpSocket;

/// An HTTP server, or proxy, on loopback whose every answer the test decides, down to the byte at which the
/// connection breaks. For what only a well-behaved server does, there is NginxServer.
class TestServer : public QTcpServer
{
public:
    struct Request
    {
        int number = 0; ///< of this server, from 1
        QByteArray head; ///< as it arrived, with its empty line
        QByteArray body = {};
        qint64 from = -1; ///< first byte of the range asked for; -1: none
        QByteArray ifRange = {};
    };
    /// After the answer: closed, open for the next request, or reset as by a crash of the machine.
    enum class End { Close, Stay, Reset };
    struct Reply
    {
        QByteArray head; ///< from the status on: "200 OK\r\nX: y\r\n"; empty: the body is all that is sent
        QByteArray body = {};
        End end = End::Close;
        int pieceSize = 0; ///< more than 0: one such piece every millisecond
        quint16 tunnel = 0; ///< from now on everything goes to that port of this machine, and back
    };
    using Handler = std::function<Reply(const Request &)>;

    /// A connection that begins with TLS is closed by @p end at its first byte.
    explicit TestServer(const Handler &handler = {}, End atTls = End::Reset);
    /// The same bytes for everybody, whatever they ask.
    explicit TestServer(const QByteArray &answer, End end = End::Stay);

    QByteArray url(const QByteArray &path = "/file.bin", const QByteArray &scheme = "http") const;

    /// The answer of an honest server that knows ranges and validators; @p length bytes of the body, -1: all.
    static Reply honest(const Request &request, const QByteArray &content, const QByteArray &tag,
                        qint64 length = -1);
    /// The whole file, whatever was asked for.
    static Reply whole(const QByteArray &content, const QByteArray &tag);
    /// @p content from @p from on as a part of a file of @p total bytes.
    static Reply part(const QByteArray &content, qint64 from, qint64 total, const QByteArray &tag);
    /// A short answer with its length; the connection stays.
    static Reply page(const QByteArray &status, const QByteArray &headers = {},
                      const QByteArray &body = "body");

    Handler handler;
    QList<QByteArray> requests; ///< heads
    QByteArray received; ///< by all connections
    qint64 served = 0; ///< bytes of heads and bodies
    int connections = 0;
    int disconnections = 0;

private:
    void serve(QTcpSocket *socket);
    void read(QTcpSocket *socket, QByteArray &unread);
    void answer(QTcpSocket *socket, const QByteArray &head, const QByteArray &body);
    void send(QTcpSocket *socket, const Reply &reply, const QByteArray &head);

    const End m_atTls = End::Reset;
};

/// The same bytes for the same seed.
QByteArray testContent(int size, quint32 seed);
