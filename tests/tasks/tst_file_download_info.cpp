#include "gui/tasks/download/FileDownloadInfo.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"

class tst_FileDownloadInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void names()
    {
        const auto name = FileDownloadInfo::destinationFileNameFromUrl;
        QCOMPARE(name(QStringLiteral("http://h/a/s.deb?x=/y#z")), QStringLiteral("s.deb"));
        QCOMPARE(name(QStringLiteral("/var/tmp/.setup")), QStringLiteral(".setup"));
        QCOMPARE(name(QString()) + name(QStringLiteral("http://h/..%2F..%2Fetc%2Fpasswd")), QString());
        // Bytes count, not characters.
        QVERIFY(!FileDownloadInfo::isSafeFileName(QString(122, QChar(0xe9))));
    }

    void pathsAndSize()
    {
        QTemporaryDir directory;
        FileDownloadInfo info;
        QCOMPARE(info.destinationDirectory, QDir::homePath());
        info.url = QStringLiteral("http://h/f");
        info.destinationDirectory.clear();
        QCOMPARE(info.destinationFilePath() + info.destinationFilePartPath(), QString());
        info = FileDownloadInfo(directory.path());
        info.url = QStringLiteral("http://h/a/b/setup.exe");
        QCOMPARE(info.destinationFilePath(),
                 directory.path() + QDir::separator() + QStringLiteral("setup.exe"));
        QCOMPARE(info.destinationFilePartPath(), info.destinationFilePath() + QStringLiteral(".kovupd-part"));
        QCOMPARE(info.downloadedByFar(), 0);
        QVERIFY(writeFile(info.destinationFilePartPath(), QByteArray(10, 'x')));
        QCOMPARE(info.downloadedByFar(), 10);
        QVERIFY(info.isCutOff());
        QVERIFY(writeFile(info.destinationFilePath(), QByteArray(7, 'x')));
        QCOMPARE(info.downloadedByFar(), 7);
        QVERIFY(!info.isCutOff());
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_FileDownloadInfo)
#include "tst_file_download_info.moc"
