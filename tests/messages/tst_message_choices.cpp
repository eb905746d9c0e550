#include "gui/messages/record/MessageUtils.h"
#include "tests/messages/MessageFixture.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"

#include <cstdio>

using Messaging::Button1;
using Messaging::Button2;
using Messaging::ButtonNone;
using Messaging::MessageData;

namespace {

constexpr int firstCode = 20000;
constexpr int codesPerProcess = 40;
const QString group = "Hidden Messages ID List/";

bool prepare()
{
    KovGui::init(KAM_CONSOLE);
    registerPolicy<CMessageDataProvider>();
    QVector<CatalogueCode> codes{{19000, "error", "Always", "Always.", false}};
    for (int code = firstCode; code < firstCode + 3 * codesPerProcess; ++code)
        codes.append({code, "warning", "Hide me", "Hide me.", true});
    return loadCatalogue(codes);
}

/// The other process: stores its answers, says so, and waits to be killed.
int storeAndWait(int first)
{
    if (!prepare())
        return 1;
    for (int code = first; code < first + codesPerProcess; ++code)
        MessageUtils::setMessageHidden(code, Button1);
    MessageData data;
    data.code = first;
    data.issuerId = QString::number(first);
    MessageUtils::saveShowOnceForVmMessage(data);
    std::puts("stored");
    std::fflush(stdout);
    return std::getchar();
}

} // namespace

class tst_message_choices : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(prepare()); }
    void init() { QSettings().clear(); }
    void storedAnswers_data()
    {
        Table<int, Messaging::ButtonID, bool> row;
        row("a possible answer", firstCode, Button1, true);
        row("an impossible answer", firstCode, Button2, false);
        row("no answer", firstCode, ButtonNone, false);
        row("a message that may not be hidden", 19000, Button1, false);
    }

    void storedAnswers()
    {
        const auto [code, answer, kept] = cells<int, Messaging::ButtonID, bool>();
        MessageUtils::setMessageHidden(code, answer);
        QCOMPARE(QSettings().contains(group + QString::number(code)), kept);
        QCOMPARE(MessageUtils::isMessageHidden(code), kept);
        QCOMPARE(MessageUtils::getDefaultButtonForHiddenMessage(code), kept ? answer : ButtonNone);
        QCOMPARE(MessageUtils::hiddenMessages(), kept ? QList<int>{code} : QList<int>());
        MessageUtils::restoreHiddenMessage(code);
        QVERIFY(!MessageUtils::isMessageHidden(code));
    }

    void staleEntriesGo()
    {
        for (const char *key : {"19000", "20000", "20001", "-5", "20002x"})
            QSettings().setValue(group + QLatin1String(key), 1u);
        QSettings().setValue(group + "20001", 77u);
        QVERIFY(!MessageUtils::isMessageHidden(20001));
        QCOMPARE(MessageUtils::getHiddenMessagesCount(), 2);
        QVERIFY(!QSettings().contains(group + "19000"));
        QVERIFY(!QSettings().contains(group + "-5"));
        MessageUtils::restoreHiddenMessages();
        QCOMPARE(MessageUtils::getHiddenMessagesCount(), 0);
    }

    void shownOncePerIssuer()
    {
        MessageData data;
        for (const char *issuer : {"{uuid}", "a/b", "a//b", "a\\b", "a%2Fb"}) {
            data.issuerId = QString::fromLatin1(issuer);
            data.code = 0;
            QVERIFY2(!MessageUtils::isShownOnceForVm(data), issuer);
            MessageUtils::saveShowOnceForVmMessage(data);
            QVERIFY2(MessageUtils::isShownOnceForVm(data), issuer);
        }
        QSettings settings;
        QVERIFY(settings.contains("Shown Once For VM Messages ID List/{uuid}"));
        // One code per issuer: the second message takes the place of the first.
        data.code = 7;
        MessageUtils::saveShowOnceForVmMessage(data);
        data.code = 0;
        QVERIFY(!MessageUtils::isShownOnceForVm(data));
        data.issuerId.clear();
        QVERIFY(CMessageDataProvider::instance()->isNeedShowErrorByCode(data));
    }

    void processesKeepEachOthersAnswers()
    {
        MessageUtils::setMessageHidden(firstCode, Button1);
        QProcess children[2];
        for (int i = 0; i < 2; ++i) {
            children[i].start(QCoreApplication::applicationFilePath(),
                              {"--store", QString::number(firstCode + (i + 1) * codesPerProcess)});
        }
        for (int code = firstCode + 1; code < firstCode + codesPerProcess; ++code)
            MessageUtils::setMessageHidden(code, Button1);
        for (QProcess &child : children) {
            QVERIFY(child.waitForReadyRead());
            QCOMPARE(child.readAllStandardOutput().trimmed(), QByteArray("stored"));
            child.kill();
            QVERIFY(child.waitForFinished());
            QCOMPARE(child.exitStatus(), QProcess::CrashExit);
        }
        QCOMPARE(MessageUtils::getHiddenMessagesCount(), 3 * codesPerProcess);
        QSettings settings;
        settings.beginGroup("Shown Once For VM Messages ID List");
        QCOMPARE(settings.childKeys().size(), 2);
    }

    void faultySettingsAreToldOf()
    {
        const QString path = QSettings().fileName();
        const auto complaintWhileHiding = [](int code) {
            const LogCapture log;
            MessageUtils::setMessageHidden(code, Button1);
            return log.text().contains("are damaged")   ? "damaged"
                   : log.text().contains("can't write") ? "not written"
                                                        : "";
        };
        if (QDir::listSeparator() != ':')
            QSKIP("The settings are no file here.");
        QVERIFY(writeFile(path, "no setting\n"));
        QCOMPARE(complaintWhileHiding(firstCode), "damaged");
        QCOMPARE(complaintWhileHiding(firstCode + 1), "");

        QVERIFY(QFile::remove(path) && QDir().mkdir(path));
        QCOMPARE(complaintWhileHiding(firstCode), "not written");
        QVERIFY2(MessageUtils::isMessageHidden(firstCode), "the answer is lost for this run as well");
        QVERIFY(QDir().rmdir(path));
        QCOMPARE(complaintWhileHiding(firstCode + 1), "");
        const QByteArray stored = fileContent(path);
        QVERIFY2(stored.contains("20000=1") && stored.contains("20001=1"), stored.constData());
    }
};

int main(int argc, char *argv[])
{
    // The other process shares the settings of the first.
    const bool other = argc == 3 && qstrcmp(argv[1], "--store") == 0;
    const std::unique_ptr<TestEnvironment> environment(other ? nullptr : new TestEnvironment);
    QApplication application(argc, argv);
    application.setOrganizationName("Tessarine Tests");
    application.setApplicationName("tst_message_choices");
    if (other)
        return storeAndWait(QByteArray(argv[2]).toInt());
    tst_message_choices test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_message_choices.moc"
