#include "gui/KovGui.h"
#include "gui/tasks/CTaskSendHttpRequest.h"
#include "tests/support/KovTest.h"
#include "tests/support/NginxServer.h"
#include "tests/tasks/ProxyFixture.h"

#include <QProcess>
#include <QStandardPaths>

/// The whole way of a request through the smallest proxy there is, and what happens when that dies.
class tst_Tinyproxy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void neverDirectly();

private:
    bool startProxy();
    QByteArray proxyLog() const
    {
        QFile file(m_folder.filePath(QStringLiteral("log")));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir m_folder;
    QProcess m_proxy;
    quint16 m_port = NginxServer::freePort();
};

bool tst_Tinyproxy::startProxy()
{
    QFile file(m_folder.filePath(QStringLiteral("conf")));
    const QString text
        = QStringLiteral("Port %1\nListen 127.0.0.1\nAllow 127.0.0.1\nLogLevel Info\nLogFile \"%2/log\"\n")
              .arg(QString::number(m_port), m_folder.path());
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) <= 0)
        return false;
    file.close();
    m_proxy.start(QStringLiteral("/usr/bin/tinyproxy"),
                  {QStringLiteral("-d"), QStringLiteral("-c"), file.fileName()});
    return QTest::qWaitFor(
        [this] {
            QTcpSocket socket;
            socket.connectToHost(QHostAddress::LocalHost, m_port);
            return socket.waitForConnected(100);
        },
        10000);
}

void tst_Tinyproxy::neverDirectly()
{
    KovGui::init(KAM_CONSOLE);
    QTemporaryDir root;
    QFile page(root.filePath(QStringLiteral("page.txt")));
    QVERIFY(page.open(QIODevice::WriteOnly) && page.write("through") > 0);
    page.close();
    NginxServer site;
    QVERIFY(site.start(root.path()));
    QVERIFY2(startProxy(), m_proxy.readAllStandardError().constData());
    setPreference("Proxy Enabled", true);
    setPreference("Proxy Http Host", QStringLiteral("127.0.0.1"));
    setPreference("Proxy Http Port", QString::number(m_port));

    const auto fetch = [&site] {
        CTaskSendHttpRequest task(site.url(QStringLiteral("page.txt")), WebUtils::QueryItems(), nullptr,
                                  QNetworkAccessManager::GetOperation, QByteArray());
        return resultOf(task);
    };
    QCOMPARE(fetch(), KOV_SUCCESS);
    QTRY_VERIFY2(proxyLog().contains("page.txt"), proxyLog().constData());

    m_proxy.kill();
    QVERIFY(m_proxy.waitForFinished());
    QCOMPARE(fetch(), KOV_ERR_FAILURE);
}

KOV_TEST_MAIN(QApplication, tst_Tinyproxy)
#include "tst_tinyproxy.moc"
