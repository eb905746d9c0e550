#include "gui/platform/SecretKey.h"
#include "tests/support/KovTest.h"

#include <functional>
#include <sys/stat.h>
#include <unistd.h>

using namespace KovGui::Platform;

using Change = std::function<void(const char *path)>;

/// The key that seals passwords where the desktop has no store of its own.
class tst_KeyFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void trust_data()
    {
        Table<Change, bool> row;
        row(
            "unchanged", [](const char *) {}, true);
        row(
            "readable by others", [](const char *path) { chmod(path, 0640); }, false);
        row(
            "cut", [](const char *path) { QVERIFY(truncate(path, 31) == 0); }, false);
        row("a link", Change([](const char *path) {
                const QByteArray moved = QByteArray(path) + ".moved";
                QVERIFY(rename(path, moved.constData()) == 0 && symlink(moved.constData(), path) == 0);
            }),
            false);
        row("a pipe", Change([](const char *path) { QVERIFY(unlink(path) == 0 && mkfifo(path, 0600) == 0); }),
            false);
    }

    void trust()
    {
        const auto [change, isTrusted] = cells<Change, bool>();
        const QByteArray name = qgetenv("XDG_DATA_HOME") + "/tessarine/passwords.key";
        const char *const path = name.constData();
        unlink(path);
        static int reports = 0;
        reports = 0;
        const auto report = [](unsigned level, const char *) { reports += level == 0; };
        SecretKey first{}, second{};
        QVERIFY(secretKey(first, report));
        QVERIFY(first != second);
        struct stat status;
        QVERIFY(stat(path, &status) == 0);
        QCOMPARE(int(status.st_mode & 07777), 0600);
        change(path);
        QCOMPARE(secretKey(second, report), isTrusted);
        QCOMPARE(first == second, isTrusted);
        QCOMPARE(reports, isTrusted ? 0 : 1);
        unlink(path);
    }
};

KOV_TEST_MAIN(QCoreApplication, tst_KeyFile)
#include "tst_key_file.moc"
