#include "gui/update/CommandLineUtils.h"
#include "gui/update/UpdateCommand_p.h"
#include "gui/update/UpdateUrl_p.h"
#include "gui/update/UpgradeUtils.h"
#include "tests/support/KovTest.h"

#include <QRandomGenerator>

/// What the updater is started with: the command line as one text, and the address in it.
class tst_UpdateCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void split_data();
    void split();
    void joinIsReversed();
    void commandLines();
    void addresses_data();
    void addresses();
    void userInformationStaysOutOfTheLog();
    void catalogueOfAnApplicationMode();
};

namespace {

QString text(const char *value)
{
    return QString::fromUtf8(value);
}

} // namespace

void tst_UpdateCommand::split_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("path with blanks")
        << text("\"/a b/updater\" -i") << QStringList{text("/a b/updater"), text("-i")};
    QTest::newRow("blanks of all sorts") << text("  a \t b\n") << QStringList{text("a"), text("b")};
    QTest::newRow("empty argument") << text("a \"\" b") << QStringList{text("a"), QString(), text("b")};
    QTest::newRow("a path of Windows")
        << text("\"C:\\p q\\\" x") << QStringList{text("C:\\p q\\"), text("x")};
    QTest::newRow("quotes inside") << text("a\"b c\"d") << QStringList{text("ab cd")};
    QTest::newRow("a quote as a character") << text("\"\"\"a\"\"\"") << QStringList{text("\"a\"")};
    QTest::newRow("quote not closed") << text("\"a b") << QStringList();
    QTest::newRow("nothing") << text("  ") << QStringList();
}

void tst_UpdateCommand::split()
{
    QFETCH(QString, line);
    QTEST(CommandLineUtils::split(line), "arguments");
}

void tst_UpdateCommand::joinIsReversed()
{
    const QString alphabet = text("\"\"\" \t\\'%2a$;\xc3\xa9");
    QRandomGenerator random(20240229);
    for (int round = 0; round < 20000; ++round) {
        QStringList arguments;
        for (quint32 count = random.bounded(1u, 5u); count > 0; --count) {
            QString argument;
            for (quint32 length = random.bounded(6u); length > 0; --length)
                argument += alphabet.at(random.bounded(alphabet.size()));
            arguments << argument;
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

void tst_UpdateCommand::addresses_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<bool>("usable");

    const auto row = [](const char *title, const char *address, bool usable) {
        QTest::newRow(title) << text(address) << usable;
    };
    row("plain", "http://127.0.0.1:8080/a/tessarine_updates.xml?x=1&y=%20", true);
    row("user name", "https://user@h/c.xml", true);
    row("IPv6", "http://[::1]:80/c.xml", true);
    row("password", "https://user:secret@h/c.xml", false);
    row("file", "file:///etc/passwd", false);
    row("other scheme", "gopher://h/", false);
    row("no host", "http:///c.xml", false);
    row("host like an option", "http://-oProxyCommand/c.xml", false);
    row("option behind a blank", "http://h/c.xml --post-install /tmp/x", false);
    row("quote", "http://h/\"c.xml", false);
    row("line feed", "http://h/c.xml\nx", false);
    row("option", "--config=/tmp/x", false);
    row("word", "Unknown", false);
    row("broken escape", "http://h/%zz", false);
}

void tst_UpdateCommand::addresses()
{
    QFETCH(QString, address);
    QFETCH(bool, usable);
    QCOMPARE(UpdateUrl::checked(address), usable ? address : QString());
}

void tst_UpdateCommand::userInformationStaysOutOfTheLog()
{
    QCOMPARE(UpdateUrl::forLog(text("--url https://me:p@ss@h/a@b\nforged http://x@y")),
             QByteArray("--url https://***@h/a@b\\nforged http://***@y"));
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
    QCOMPARE(UpgradeUtils::defaultCatalogueUrl(7), QString());
    QCOMPARE(UpgradeUtils::defaultCatalogueUrl(-1), QString());
    QCOMPARE(UpgradeUtils::defaultCatalogueUrl(65535), QStringLiteral("Unknown"));
    QVERIFY(UpgradeUtils::setUpdateServerBase(QString()));
    QCOMPARE(UpgradeUtils::defaultCatalogueUrl(0), QString());
}

KOV_TEST_MAIN(QCoreApplication, tst_UpdateCommand)
#include "tst_update_command.moc"
