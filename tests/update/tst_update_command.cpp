#include "gui/update/launch/CommandLineUtils.h"
#include "gui/update/launch/UpdateCommand_p.h"
#include "gui/update/record/UpdateUrl_p.h"
#include "gui/update/record/UpgradeUtils.h"
#include "tests/support/KovTest.h"

#include <QRandomGenerator>

/// What the updater is started with: the command line as one text, and the address in it.
class tst_UpdateCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void split();
    void joinIsReversed();
    void commandLines();
    void addresses();
    void catalogueOfAnApplicationMode();
};

namespace {

QString text(const char *value)
{
    return QString::fromUtf8(value);
}

} // namespace

void tst_UpdateCommand::split()
{
    const QPair<const char *, const char *> cases[] = {{"\"/a b/updater\" -i", "/a b/updater|-i"},
                                                       {"  a \t b\n", "a|b"},
                                                       {"a \"\" b", "a||b"},
                                                       {"\"C:\\p q\\\" x", "C:\\p q\\|x"},
                                                       {"a\"b c\"d", "ab cd"},
                                                       {"\"\"\"a\"\"\"", "\"a\""},
                                                       {"a \"b", ""},
                                                       {"  ", ""}};
    for (const auto &[line, arguments] : cases)
        QCOMPARE(CommandLineUtils::split(text(line)).join(QLatin1Char('|')), text(arguments));
}

void tst_UpdateCommand::joinIsReversed()
{
    const QString alphabet = text("\"\"\" \t\\'%2a$;\xc3\xa9");
    QRandomGenerator random(20240229);
    for (int round = 0; round < 20000; ++round) {
        QStringList arguments{QString(), QString(), QString()};
        for (QString &argument : arguments) {
            for (quint32 length = random.bounded(6u); length > 0; --length)
                argument += alphabet.at(random.bounded(alphabet.size()));
        }
        const QString line = CommandLineUtils::join(arguments.first(), arguments.mid(1));
        QVERIFY2(CommandLineUtils::split(line) == arguments, qUtf8Printable(line));
    }
}

void tst_UpdateCommand::commandLines()
{
    const QString path = text("/opt/my tools/updater");
    const QString url = text("http://h/%8/a%20b?x=%1");
    QCOMPARE(UpdateCommand::checkInControlMode(path, url),
             text("\"/opt/my tools/updater\" --update check -i -ud -nr --url http://h/%8/a%20b?x=%1"));
    QCOMPARE(UpdateCommand::checkInControlMode(path, QString()),
             text("\"/opt/my tools/updater\" --update check -i -ud -nr"));
    QCOMPARE(UpdateCommand::checkInAppMode(path, url, false),
             text("\"/opt/my tools/updater\" --started-by-gui --update check --url http://h/%8/a%20b?x=%1"));
    QCOMPARE(
        UpdateCommand::checkInAppMode(path, QString(), true),
        text("\"/opt/my tools/updater\" --started-by-gui --update check --mode silent --background-download "
             "--hide-no-updates-message"));
}

void tst_UpdateCommand::addresses()
{
    for (const char *address :
         {"http://127.0.0.1:8080/a/c.xml?x=1&y=%20", "https://h/c.xml", "http://[::1]:80/c"})
        QCOMPARE(UpdateUrl::checked(text(address)), text(address));
    for (const char *address :
         {"", "https://user:secret@h/c", "https://token@h/c", "http:/u:secret@h/c", "file:///etc/passwd",
          "gopher://h/", "http:///c", "http://-oProxyCommand/c", "http://h/c --post-install /tmp/x",
          "http://h/\"c", "http://h/c\nx", "--config=/x", "Unknown", "http://h/%zz"})
        QVERIFY2(UpdateUrl::checked(text(address)).isEmpty(), address);
    QCOMPARE(UpdateUrl::forLog(text("--url https://me:p@ss@h/a@b?token=t\nforged http://x@y")),
             QByteArray("--url https://***\\nforged http://y"));
}

void tst_UpdateCommand::catalogueOfAnApplicationMode()
{
    QCOMPARE(UpgradeUtils::defaultCatalogueUrl(0), QString());
    QVERIFY(UpgradeUtils::setUpdateServerBase(text("https://h/feed//")));
    QVERIFY(!UpgradeUtils::setUpdateServerBase(text("ftp://h")));
    QSet<QString> addresses;
    for (int mode = 0; mode <= 6; ++mode)
        addresses << UpdateUrl::checked(UpgradeUtils::defaultCatalogueUrl(mode));
    QCOMPARE(addresses.size(), 7);
    QVERIFY(addresses.contains(text("https://h/feed/console/v3/tessarine/tessarine_updates.xml")));
    QCOMPARE(UpgradeUtils::defaultCatalogueUrl(7) + UpgradeUtils::defaultCatalogueUrl(-1), QString());
    QCOMPARE(UpgradeUtils::defaultCatalogueUrl(65535), QStringLiteral("Unknown"));
}

KOV_TEST_MAIN(QCoreApplication, tst_UpdateCommand)
#include "tst_update_command.moc"
