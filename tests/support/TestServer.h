#pragma once

#include <QByteArray>
#include <QList>
#include <QTcpServer>

#include <functional>

/// An HTTP server on loopback whose every answer the test decides, down to the byte at which the connection
/// breaks.
class FaultServer : public QTcpServer
{
public:
    struct Request
    {
        int number = 0; ///< of this server, from 1
        QByteArray head; ///< as it arrived
        qint64 from = -1; ///< first byte of the range asked for; -1: none
        QByteArray ifRange;
    };
    enum class End { Close, Stall };
    struct Reply
    {
        QByteArray head; ///< from the status on: "200 OK\r\nContent-Length: 5\r\n"
        QByteArray body;
        End end = End::Close;
        int pieceSize = 0; ///< more than 0: one such piece every millisecond
    };
    using Handler = std::function<Reply(const Request &)>;

    explicit FaultServer(Handler handler = {});

    QByteArray url(const QByteArray &path = "/file.bin") const;

    /// The answer of an honest server that knows ranges and validators; @p length bytes of the body, -1: all.
    static Reply honest(const Request &request, const QByteArray &content, const QByteArray &tag,
                        qint64 length = -1);
    /// The whole file, whatever was asked for.
    static Reply whole(const QByteArray &content, const QByteArray &tag);
    /// @p content from @p from on as a part of a file of @p total bytes.
    static Reply part(const QByteArray &content, qint64 from, qint64 total, const QByteArray &tag);

    Handler handler;
    QList<QByteArray> requests; ///< heads
    qint64 served = 0; ///< bytes of heads and bodies

private:
    void answer(QTcpSocket *socket, const QByteArray &head);
};

/// The same bytes for the same seed.
QByteArray testContent(int size, quint32 seed);
