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
    void identifiersThatLookAlikeDiffer();
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
                                "http://h/setup.exe%20",
                                "http://h/%ff",
                                "http://h/x.kovupd-part"};
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

void tst_FileDownloadInfo::identifiersThatLookAlikeDiffer()
{
    const QString a = QStringLiteral("a");
    QVERIFY(CTaskId_GetProxyInfo(a, true) == CTaskId_GetProxyInfo(a, true));
    QVERIFY(CTaskId_GetProxyInfo(a, true) != CTaskId_GetProxyInfo(a, false));
    QVERIFY(CTaskId_DownloadFile(a, QString()) != CTaskId_DownloadFile(QString(), a));
    QVERIFY(CTaskId_DownloadFile(a, a) != CTaskId_InteractiveDownload(a, a));
    QVERIFY(CTaskId_CheckForProductUpdate() != CTaskId_InstallProductUpdate());
}

KOV_TEST_MAIN(QCoreApplication, tst_FileDownloadInfo)
#include "tst_file_download_info.moc"
