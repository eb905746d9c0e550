#include "MinimalPreferences.h"
#include "MinimalReport.h"
#include "MinimalStatistics.h"
#include "MinimalUpdates.h"
#include "MinimalWizard.h"

#include "abstract_task/CAbstractTask.h"
#include "abstract_task/CTaskManager.h"
#include "abstract_task/Tasks.h"
#include "gui/KovGui.h"
#include "gui/frame/LibraryVersion.h"
#include "gui/messages/CMessageManager.h"
#include "gui/messages/record/MessageParams.h"

#include <QApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <QMetaEnum>
#include <QSettings>
#include <QStandardPaths>
#include <QTcpSocket>
#include <QUrl>

namespace Minimal {
Q_NAMESPACE
/// The host's own kinds of tasks, with numbers that GUI::TaskTypes leaves free.
enum TaskTypes { TaskGreetServer = 201 };
Q_ENUM_NS(TaskTypes)
} // namespace Minimal

/// Connects to the server, and waits until it stands.
class CTaskGreetServer : public CAbstractTask
{
    Q_OBJECT

public:
    enum TaskStep { CheckAddress = 0, OpenConnection = 1 };
    Q_ENUM(TaskStep)

    Q_INVOKABLE explicit CTaskGreetServer(CTaskGenericId *id)
        : CAbstractTask(id)
        , m_address(id->params().value(QStringLiteral("address")).toUrl())
    { }
    unsigned type() const override { return Minimal::TaskGreetServer; }

private:
    // Returns at once: the next step follows, or the task ends with the error.
    Q_INVOKABLE KOV_RESULT checkAddress() { return m_address.port() > 0 ? KOV_SUCCESS : KOV_ERR_FAILURE; }
    // Waits: completes from a slot, whatever comes.
    Q_INVOKABLE KOV_RESULT openConnection()
    {
        connect(&m_socket, &QTcpSocket::connected, this, [this] { subTaskCompleted(KOV_SUCCESS); });
        connect(&m_socket, &QTcpSocket::errorOccurred, this, [this] { subTaskCompleted(KOV_ERR_FAILURE); });
        setWaitForSubTaskCompletion();
        m_socket.connectToHost(m_address.host(), quint16(m_address.port()));
        return KOV_SUCCESS;
    }

    const QUrl m_address;
    QTcpSocket m_socket;
};

class MinimalWindow : public QMainWindow
{
public:
    MinimalWindow()
    {
        setWindowTitle(KovGui::getAppGuiName());
        menuBar()->addAction(tr("Check for &Updates…"), this, [] {
            // Where nobody sits, what is found is installed without a question.
            const bool unattended = QSettings().value(QStringLiteral("Unattended")).toBool();
            CAppUpdateLogic::instance()->checkForUpdates(false, unattended, false);
        });
        menuBar()->addAction(tr("&Connect"), this,
                             [this] { greet(QUrl(QSettings().value(QStringLiteral("Server")).toString())); });
        menuBar()->addAction(tr("&Preferences…"), this, [this] { (new MinimalPreferences(this))->open(); });
        menuBar()->addAction(tr("&New Connection…"), this, [this] { runMinimalWizard(this); });
        menuBar()->addAction(tr("&Report a Problem…"), this, [this] { reportProblem(this); });
    }

private:
    void greet(const QUrl &server)
    {
        auto *id = new CTaskGenericId(Minimal::TaskGreetServer);
        id->insertParam(QStringLiteral("address"), server);
        CTaskManager::instance()->runTask(id, CSlotInfo(this, &MinimalWindow::onGreeted), true);
    }

    void onGreeted(KOV_RESULT result)
    {
        qInfo("task %x", unsigned(result));
        if (KOV_FAILED(result)) {
            CMessageManager::instance()->showMessageBox(
                MessageParams(KOV_ERR_UPDATE_SERVER_NOT_REACHABLE, this)
                    .setCloseMsgSlot(CSlotInfo(this, [](KOV_RESULT, Messaging::ButtonID answer) {
                        qInfo("message %d", int(answer));
                    })));
        }
    }
};

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Tessarine")); // the settings need both names
    QCoreApplication::setApplicationName(QStringLiteral("Minimal"));
    qInfo("version %s", LibraryVersion::text());

    KovGui::init(KAM_CONSOLE); // before anything else of the library; once
    KovGui::setupLogging(true); // chooses the log's folder for the mode
    Tasks::init(QMetaEnum::fromType<Minimal::TaskTypes>());
    // The host's classes, after init() and before they are first used.
    auto &classes = KovGui::staticMetaObjectHash();
    classes[QStringLiteral("CTaskGreetServer")] = &CTaskGreetServer::staticMetaObject;
    classes[QStringLiteral("CAppUpdateWorker")] = &MinimalUpdateWorker::staticMetaObject;

    // Where updates come from, and the program that fetches and installs them.
    UpgradeUtils::setUpdateServerBase(QSettings().value(QStringLiteral("UpdateServer")).toString());
    const QString updater
        = QStandardPaths::findExecutable(QStringLiteral("updater"), {QCoreApplication::applicationDirPath()});
    KovGui::setUpdaterFilePathAndUpdateMode(updater, QString(), QStringLiteral("ctl"));

    MinimalSender sender;
    MinimalCollector collector;
    CCepStatisticsProvider statistics(&sender, &collector);

    MinimalWindow window;
    window.show();
    goOnWithUpdates(&window);
    const int result = application.exec();
    CAppUpdateLogic::destroy(); // before the application object goes
    return result;
}

#include "main.moc"
