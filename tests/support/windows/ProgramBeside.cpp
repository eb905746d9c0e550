/**
 * Stands under Wine for a program of the system around it, whose name it has: nginx.exe, squid.exe,
 * openssl.exe. It gives its arguments and its standard input to tests/support/programs-beside-wine and writes
 * what comes back. Ended, it takes that program with it.
 */
#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>

#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <thread>

#include <windows.h>

namespace {

/// Where a folder of a drive lies in the system around Wine.
QString unixName(const wchar_t *path)
{
    using Convert = char *(__cdecl *)(const wchar_t *);
    const auto convert = reinterpret_cast<Convert>(
        reinterpret_cast<void *>(GetProcAddress(GetModuleHandleW(L"kernel32"), "wine_get_unix_file_name")));
    return convert ? QString::fromUtf8(convert(path)) : QString();
}

QByteArray request()
{
    QJsonObject request;
    request["program"] = QFileInfo(QCoreApplication::applicationFilePath()).baseName();
    request["arguments"] = QJsonArray::fromStringList(QCoreApplication::arguments().mid(1));
    request["folder"] = QDir::currentPath();
    request["c"] = QFileInfo(unixName(L"C:\\windows")).path() + '/';
    return QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n';
}

/// QProcess::terminate() posts a message.
class EndRequest : public QAbstractNativeEventFilter
{
public:
    explicit EndRequest(QTcpSocket *socket)
        : m_socket(socket)
    { }
    bool nativeEventFilter(const QByteArray &, void *message, long *) override
    {
        if (static_cast<MSG *>(message)->message == WM_CLOSE)
            m_socket->write("-1\n");
        return false;
    }

private:
    QTcpSocket *const m_socket;
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QString beside = qEnvironmentVariable("KOV_PROGRAMS_BESIDE");
    QFile pass("Z:" + beside.section(' ', 1));
    QTcpSocket socket;
    socket.connectToHost("127.0.0.1", quint16(beside.section(' ', 0, 0).toUInt()));
    if (!pass.open(QIODevice::ReadOnly) || !socket.waitForConnected(5000)) {
        std::fprintf(stderr, "%s: nobody runs programs beside Wine\n", argv[0]);
        return 1;
    }
    socket.write(pass.readAll() + request());
    EndRequest endRequest(&socket);
    application.installNativeEventFilter(&endRequest);
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    // Reading blocks for as long as whoever started this keeps the pipe.
    std::thread([&socket] {
        char piece[4096];
        int size = 0;
        do {
            size = qMax(0, _read(_fileno(stdin), piece, sizeof piece));
            const QByteArray bytes = QByteArray::number(size) + '\n' + QByteArray(piece, size);
            QMetaObject::invokeMethod(&socket, [&socket, bytes] { socket.write(bytes); });
        } while (size > 0);
    }).detach();
    QByteArray last;
    QObject::connect(&socket, &QTcpSocket::readyRead, &application, [&] {
        const QByteArray answer = last + socket.readAll();
        last = answer.right(1);
        std::fwrite(answer.constData(), 1, std::size_t(answer.size() - 1), stdout);
        std::fflush(stdout);
    });
    QObject::connect(&socket, &QTcpSocket::disconnected, &application, &QCoreApplication::quit);
    application.exec();
    // Whatever the other thread waits in.
    TerminateProcess(GetCurrentProcess(), last.isEmpty() ? 1 : quint8(last.at(0)));
}
