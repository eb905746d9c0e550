#include "gui/tasks/download/FileDownloadInfo.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"

class tst_FileDownloadInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void names();
    void pathsAndSize();
};

void tst_FileDownloadInfo::names()
{
    const auto name = FileDownloadInfo::destinationFileNameFromUrl;
    QCOMPARE(name(QStringLiteral("http://h/a/s.deb?x=/y#z")), QStringLiteral("s.deb"));
    QCOMPARE(name(QStringLiteral("http://h/a/my%20setup.deb")), QStringLiteral("my setup.deb"));
    QCOMPARE(name(QStringLiteral("/var/tmp/.setup")), QStringLiteral(".setup"));
    for (const char *url : {"", "http://h/..", "http://h/%2e%2e", "http://h/..%2F..%2Fetc%2Fpasswd",
                            "http://h/..\\evil.exe", "http://h/setup.exe%00.txt"})
        QVERIFY2(name(QLatin1String(url)).isEmpty(), url);
    // 255 bytes with the suffix of the partial file.
    QVERIFY(FileDownloadInfo::isSafeFileName(QString(243, QLatin1Char('x'))));
    QVERIFY(!FileDownloadInfo::isSafeFileName(QString(122, QChar(0xe9))));
}

void tst_FileDownloadInfo::pathsAndSize()
{
    QTemporaryDir directory;
    FileDownloadInfo info;
    QCOMPARE(info.destinationDirectory, QDir::homePath());
    info.url = QStringLiteral("http://h/f");
    info.destinationDirectory.clear();
    QCOMPARE(info.destinationFilePath() + info.destinationFilePartPath(), QString());
    info = FileDownloadInfo(directory.path());
    info.url = QStringLiteral("http://h/a/b/setup.exe");
    QCOMPARE(info.destinationFilePath(), directory.path() + QDir::separator() + QStringLiteral("setup.exe"));
    QCOMPARE(info.destinationFilePartPath(), info.destinationFilePath() + QStringLiteral(".kovupd-part"));
    QCOMPARE(info.downloadedByFar(), 0);
    QVERIFY(writeFile(info.destinationFilePartPath(), QByteArray(10, 'x')));
    QCOMPARE(info.downloadedByFar(), 10);
    QVERIFY(writeFile(info.destinationFilePath(), QByteArray(7, 'x')));
    QCOMPARE(info.downloadedByFar(), 7);
}

KOV_TEST_MAIN(QCoreApplication, tst_FileDownloadInfo)
#include "tst_file_download_info.moc"
