#include "gui/tasks/FileDownloadInfo.h"
#include "gui/tasks/TaskIds.h"
#include "tests/support/KovTest.h"

using Params = QHash<QString, QVariant>;

class tst_FileDownloadInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nameFromUrl_data();
    void nameFromUrl();
    void paths();
    void downloadedByFar();
    void identifierParameters_data();
    void identifierParameters();
};

void tst_FileDownloadInfo::nameFromUrl_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("name");

    const auto row = [](const char *title, const QString &url, const QString &name) {
        QTest::newRow(title) << url << name;
    };
    const QString host = QStringLiteral("http://h/a/");
    row("plain", host + QStringLiteral("setup-3.1.5.31502.deb"), QStringLiteral("setup-3.1.5.31502.deb"));
    row("query and fragment are no part", host + QStringLiteral("s.deb?x=/y#z"), QStringLiteral("s.deb"));
    row("escapes are decoded", host + QStringLiteral("my%20setup.deb"), QStringLiteral("my setup.deb"));
    row("local path", QStringLiteral("/var/tmp/setup.deb"), QStringLiteral("setup.deb"));
    row("hidden file is a name", host + QStringLiteral(".setup"), QStringLiteral(".setup"));
    row("device name as a part", host + QStringLiteral("console-nul.exe"), QStringLiteral("console-nul.exe"));

    row("empty", QString(), QString());
    row("folder", host, QString());
    row("parent folder", host + QStringLiteral(".."), QString());
    row("parent folder, escaped", host + QStringLiteral("%2e%2e"), QString());
    row("escaped slashes", host + QStringLiteral("..%2F..%2Fetc%2Fpasswd"), QString());
    row("backslashes", host + QStringLiteral("..\\..\\evil.exe"), QString());
    row("escaped backslash", host + QStringLiteral("..%5Cevil.exe"), QString());
    row("drive or stream", host + QStringLiteral("C%3Aevil.exe"), QString());
    row("NUL", host + QStringLiteral("setup.exe%00.txt"), QString());
    row("line feed", host + QStringLiteral("a%0Ab"), QString());
    row("device", host + QStringLiteral("Com1.exe"), QString());
    row("dot at the end", host + QStringLiteral("setup.exe."), QString());
    row("too long with the partial suffix", host + QString(244, QLatin1Char('x')), QString());
}

void tst_FileDownloadInfo::nameFromUrl()
{
    QFETCH(QString, url);
    QTEST(FileDownloadInfo::destinationFileNameFromUrl(url), "name");
}

void tst_FileDownloadInfo::paths()
{
    FileDownloadInfo info;
    QCOMPARE(info.destinationDirectory, QDir::homePath());
    QCOMPARE(info.destinationFilePath(), QString());
    QCOMPARE(info.destinationFilePartPath(), QString());

    info.url = QStringLiteral("http://h/a/b/setup.exe");
    info.destinationDirectory = QStringLiteral("/d");
    QCOMPARE(info.destinationFilePartPath(),
             QStringLiteral("/d") + QDir::separator() + QStringLiteral("setup.exe.kovupd-part"));
    info.destinationDirectory.clear();
    QCOMPARE(QFileInfo(info.destinationFilePath()).path(), QDir::homePath());
}

void tst_FileDownloadInfo::downloadedByFar()
{
    QTemporaryDir directory;
    FileDownloadInfo info(directory.path());
    info.url = QStringLiteral("http://h/setup.exe");
    const auto write = [](const QString &path, int bytes) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(QByteArray(bytes, 'x')), qint64(bytes));
    };
    QCOMPARE(info.downloadedByFar(), 0);
    write(info.destinationFilePartPath(), 10);
    QCOMPARE(info.downloadedByFar(), 10);
    write(info.destinationFilePath(), 7);
    QCOMPARE(info.downloadedByFar(), 7);
}

void tst_FileDownloadInfo::identifierParameters_data()
{
    QTest::addColumn<uint>("actualType");
    QTest::addColumn<Params>("actualParams");
    QTest::addColumn<uint>("type");
    QTest::addColumn<Params>("params");

    const QUrl url(QStringLiteral("http://h/p?q=1"));
    const QString a = QStringLiteral("a");
    const QString b = QStringLiteral("b");
    const auto key = [](const char *name) { return QString::fromLatin1(name); };
    const auto row = [](const char *title, const CTaskGenericId &id, uint type, const Params &params) {
        QTest::newRow(title) << id.type() << id.params() << type << params;
    };
    row("proxy", CTaskId_GetProxyInfo(a, true), 46, {{key("url"), a}, {key("needDetectCredentials"), true}});
    row("operation", CTaskId_HttpOperation(url, QNetworkAccessManager::PutOperation, b), 47,
        {{key("0"), url}, {key("1"), 3}, {key("2"), b}});
    row("request", CTaskId_SendHttpRequest(url, QNetworkAccessManager::PostOperation), 48,
        {{key("0"), url}, {key("1"), 4}});
    row("download", CTaskId_DownloadFile(a, b), 118, {{key("0"), a}, {key("1"), b}});
    row("interactive", CTaskId_InteractiveDownload(a, b), 64, {{key("0"), a}, {key("1"), b}});
    row("report", CTaskId_CreateProblemReport(a, b, true, a), 10,
        {{key("0"), a}, {key("1"), b}, {key("2"), true}, {key("3"), a}});
    row("check", CTaskId_CheckForProductUpdate(), 73, {});
    row("install", CTaskId_InstallProductUpdate(), 63, {});
    row("launch", CTaskId_LaunchUpdater(a, b), 119, {{key("0"), a}, {key("1"), b}});
}

void tst_FileDownloadInfo::identifierParameters()
{
    QFETCH(uint, actualType);
    QTEST(actualType, "type");
    QFETCH(Params, actualParams);
    QTEST(actualParams, "params");
}

KOV_TEST_MAIN(QCoreApplication, tst_FileDownloadInfo)
#include "tst_file_download_info.moc"
