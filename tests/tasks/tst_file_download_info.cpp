#include "gui/tasks/FileDownloadInfo.h"
#include "gui/tasks/TaskIds.h"
#include "tests/support/KovTest.h"

class tst_FileDownloadInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void safeNames();
    void unsafeNames();
    void pathsAndSize();
    void identifiers();
};

void tst_FileDownloadInfo::safeNames()
{
    const QPair<const char *, const char *> cases[] = {
        {"http://h/a/setup-3.1.5.31502.deb", "setup-3.1.5.31502.deb"},
        {"http://h/a/s.deb?x=/y#z", "s.deb"},
        {"http://h/a/my%20setup.deb", "my setup.deb"},
        {"/var/tmp/.setup", ".setup"},
        {"http://h/console-nul.exe", "console-nul.exe"},
    };
    for (const auto &[url, name] : cases)
        QCOMPARE(FileDownloadInfo::destinationFileNameFromUrl(QLatin1String(url)), QLatin1String(name));
}

void tst_FileDownloadInfo::unsafeNames()
{
    const char *const urls[] = {"",
                                "http://h/a/",
                                "http://h/..",
                                "http://h/%2e%2e",
                                "http://h/..%2F..%2Fetc%2Fpasswd",
                                "http://h/..\\evil.exe",
                                "http://h/..%5Cevil.exe",
                                "http://h/C%3Aevil.exe",
                                "http://h/setup.exe%00.txt",
                                "http://h/a%0Ab",
                                "http://h/Com1.exe",
                                "http://h/setup.exe.",
                                "http://h/setup.exe%20"};
    for (const char *url : urls)
        QVERIFY2(FileDownloadInfo::destinationFileNameFromUrl(QLatin1String(url)).isEmpty(), url);
    // 255 bytes with the suffix of the partial file.
    QVERIFY(FileDownloadInfo::isSafeFileName(QString(243, QLatin1Char('x'))));
    QVERIFY(!FileDownloadInfo::isSafeFileName(QString(122, QChar(0xe9))));
}

void tst_FileDownloadInfo::pathsAndSize()
{
    QTemporaryDir directory;
    FileDownloadInfo info;
    QCOMPARE(info.destinationDirectory, QDir::homePath());
    QCOMPARE(info.destinationFilePartPath(), QString());
    info = FileDownloadInfo(directory.path());
    info.url = QStringLiteral("http://h/a/b/setup.exe");
    QCOMPARE(info.destinationFilePath(), directory.path() + QDir::separator() + QStringLiteral("setup.exe"));
    QCOMPARE(info.destinationFilePartPath(), info.destinationFilePath() + QStringLiteral(".kovupd-part"));
    QCOMPARE(info.downloadedByFar(), 0);
    QFile part(info.destinationFilePartPath());
    QVERIFY(part.open(QIODevice::WriteOnly) && part.resize(10));
    QCOMPARE(info.downloadedByFar(), 10);
    QFile whole(info.destinationFilePath());
    QVERIFY(whole.open(QIODevice::WriteOnly) && whole.resize(7));
    QCOMPARE(info.downloadedByFar(), 7);
}

void tst_FileDownloadInfo::identifiers()
{
    const auto text = [](const CTaskGenericId &id) {
        QStringList params;
        const auto all = id.params();
        for (auto it = all.begin(); it != all.end(); ++it)
            params
                << QStringLiteral(" %1=%2:%3").arg(it.key(), QLatin1String(it->typeName()), it->toString());
        params.sort();
        return QByteArray::number(id.type()) + params.join(QString()).toLatin1();
    };
    const QUrl url(QStringLiteral("u:"));
    const QString a = QStringLiteral("a");
    const QString b = QStringLiteral("b");
    QCOMPARE(text(CTaskId_GetProxyInfo(a, true)),
             QByteArray("46 needDetectCredentials=bool:true url=QString:a"));
    QCOMPARE(text(CTaskId_HttpOperation(url, QNetworkAccessManager::PutOperation, b)),
             QByteArray("47 0=QUrl:u: 1=int:3 2=QString:b"));
    QCOMPARE(text(CTaskId_SendHttpRequest(url, QNetworkAccessManager::GetOperation)),
             QByteArray("48 0=QUrl:u: 1=int:2"));
    QCOMPARE(text(CTaskId_DownloadFile(a, b)), QByteArray("118 0=QString:a 1=QString:b"));
    QCOMPARE(text(CTaskId_InteractiveDownload(a, b)), QByteArray("64 0=QString:a 1=QString:b"));
    QCOMPARE(text(CTaskId_CreateProblemReport(a, b, true, a)),
             QByteArray("10 0=QString:a 1=QString:b 2=bool:true 3=QString:a"));
    QCOMPARE(text(CTaskId_CheckForProductUpdate()), QByteArray("73"));
    QCOMPARE(text(CTaskId_InstallProductUpdate()), QByteArray("63"));
    QCOMPARE(text(CTaskId_LaunchUpdater(a, b)), QByteArray("119 0=QString:a 1=QString:b"));
}

KOV_TEST_MAIN(QCoreApplication, tst_FileDownloadInfo)
#include "tst_file_download_info.moc"
