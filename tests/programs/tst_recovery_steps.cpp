#include "programs/updater/base/Files.h"
#include "tests/programs/InstallerFixture.h"
#include "tests/support/SampleSignature.h"
#include "tests/support/System.h"

#include <QProcess>

namespace {

/// What a process of its own does: the step, before which of its changes of a file or folder it is killed,
/// whether folders in use can be moved, the installation and the package.
QStringList orderOf(const char *step, int change, bool canMoveFolders, const InstallerFixture &site)
{
    return {step, QString::number(change), canMoveFolders ? "folders" : "files", site.root, site.package};
}

int carryOut(const QStringList &order)
{
    Files::beforeChange = [left = order.at(1).toInt()]() mutable {
        if (left-- == 0)
            System::kill(QCoreApplication::applicationPid());
    };
    InstallRequest request;
    request.root = order.at(3);
    request.packageFile = order.at(4);
    request.keys = Signature::builtInKeys();
    request.now = QDateTime(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC);
    request.hooks.canMoveFolders = order.at(2) == "folders";
    if (order.at(0) == "install")
        return int(installPackage(request).code);
    if (order.at(0) == "recover")
        return int(Installation::recover(request.root).code);
    Installation installation(request.hooks);
    const InstallResult opened = installation.open(request.root);
    return int(opened.ok() ? installation.stepBack("test").code : opened.code);
}

} // namespace

/// Where a process cannot be forked: whatever kills the change of versions, one step after the other.
class tst_RecoverySteps : public QObject
{
    Q_OBJECT

    std::unique_ptr<InstallerFixture> m_site;

    /// @return true when it was killed
    bool killed(const char *step, int change, bool canMoveFolders)
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        process.start(QCoreApplication::applicationFilePath(),
                      orderOf(step, change, canMoveFolders, *m_site));
        // Under Wine beside other work a step has taken over a minute.
        const bool isOver = process.waitForFinished(300000);
        const bool isKilled = process.exitStatus() == QProcess::CrashExit;
        if (!isOver || (process.exitCode() != 0 && !isKilled))
            QTest::qFail(
                qPrintable(QStringLiteral("%1 %2: %3").arg(step).arg(change).arg(process.exitCode())),
                __FILE__, __LINE__);
        return isOver && isKilled;
    }

    bool isNewInUse() const { return treeOf(m_site->in("current")) == treeOf(newDraft()); }

private Q_SLOTS:
    void init() { m_site = std::make_unique<InstallerFixture>(); }

    void install_data()
    {
        Table<bool> row;
        row("folders", true);
        row("file by file", false);
    }

    void install()
    {
        const auto [canMoveFolders] = cells<bool>();
        bool isKilled = true;
        int change = 0;
        for (; isKilled; ++change) {
            m_site->makeSite(m_site->root);
            isKilled = killed("install", change, canMoveFolders);
            if (isKilled)
                killed("recover", change % 7, true);
            const InstallResult recovered = Installation::recover(m_site->root);
            QVERIFY2(recovered.ok(), qPrintable(recovered.fault));
            m_site->checkRecovered();
        }
        QVERIFY2(change > 30 && isNewInUse(), qPrintable(QString::number(change)));
    }

    void stepBack_data() { install_data(); }

    void stepBack()
    {
        const auto [canMoveFolders] = cells<bool>();
        bool isKilled = true;
        for (int change = 0; isKilled; ++change) {
            m_site->makeSite(m_site->root);
            QVERIFY(installPackage(m_site->request()).ok());
            isKilled = killed("stepBack", change, canMoveFolders);
            QVERIFY(Installation::recover(m_site->root).ok());
            const bool isNew = isNewInUse();
            QCOMPARE(treeOf(m_site->in(isNew ? "previous" : "current")), treeOf(oldDraft()));
            QCOMPARE(treeOf(m_site->in(isNew ? "current" : "previous")), treeOf(newDraft()));
        }
        QVERIFY(!isNewInUse());
    }

    /// One file that a program keeps open takes all of them back.
    void fileInUse()
    {
        QFile held(m_site->in("current/readme"));
        QVERIFY(held.open(QIODevice::ReadOnly));
        InstallRequest order = m_site->request();
        order.hooks.canMoveFolders = false;
        const InstallResult result = installPackage(order);
        QVERIFY2(result.ok() == System::renamesOpenFiles, qPrintable(result.fault));
        m_site->checkRecovered();
        held.close();
        QVERIFY(System::renamesOpenFiles || installPackage(m_site->request()).ok());
        QVERIFY(isNewInUse());
    }
};

int main(int argc, char *argv[])
{
    // Each step is a process, and there are many.
    qputenv("QTEST_FUNCTION_TIMEOUT", "900000");
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments().mid(1);
    if (arguments.size() == 5)
        return carryOut(arguments);
    tst_RecoverySteps test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_recovery_steps.moc"
