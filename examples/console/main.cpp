#include "examples/console/pages/ConsoleWindow.h"
#include "examples/console/pages/ReportsPage.h"
#include "examples/console/sample/ConsoleMessages.h"
#include "examples/console/sample/ConsoleUpdateTasks.h"
#include "examples/console/sample/ConsoleUpdateWorker.h"
#include "examples/console/sample/CrashNote.h"
#include "examples/console/tour/Tour.h"
#include "gui/KovGui.h"
#include "gui/frame/LibraryVersion.h"
#include "gui/help/Help.h"
#include "gui/log/LogText.h"
#include "gui/messages/box/CMessageBox.h"
#include "gui/update/CAppUpdateLogic.h"
#include "gui/update/record/UpgradeUtils.h"
#include "kov_sdk/KovSdk.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QSettings>
#include <QTimer>

#include <csignal>
#include <cstdio>

namespace {

/// A tour must not meet the answers that its user stored, nor leave its own behind. To be set before the
/// library looks.
void usePrivateSettings(int argc, char *argv[])
{
    for (int i = 1; i + 1 < argc; ++i) {
        if (qstrcmp(argv[i], "--tour") != 0)
            continue;
        const QDir folder(QString::fromLocal8Bit(argv[i + 1]) + QStringLiteral("/private"));
        const QString settings = folder.absoluteFilePath(QStringLiteral("config"));
        qputenv("XDG_CONFIG_HOME", settings.toLocal8Bit());
        QSettings::setDefaultFormat(QSettings::IniFormat);
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings);
        qputenv("XDG_DATA_HOME", folder.absoluteFilePath(QStringLiteral("data")).toLocal8Bit());
    }
}

bool loadMessages()
{
    // The catalogue is a file of the host's beside its program; a packaged host would install it.
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/console_messages.json");
    return KOV_SUCCEEDED(KovApi_LoadMessageCatalogue(path.toUtf8().constData()));
}

volatile std::sig_atomic_t endWanted = 0;

/// Ctrl+C and a session that ends close the console as its window does: the sample site's server and folder
/// go with it.
void quitWhenSignalled(QApplication *application)
{
    for (const int signal : {SIGINT, SIGTERM})
        std::signal(signal, [](int) { endWanted = 1; });
    auto *timer = new QTimer(application);
    timer->setObjectName(QStringLiteral("signalTimer"));
    QObject::connect(timer, &QTimer::timeout, application, [] {
        if (endWanted != 0)
            QCoreApplication::quit();
    });
    timer->start(200);
}

template <typename Body>
int runConsole(Body body)
{
    int result = 0;
    {
        ConsoleWindow window;
        window.show();
        // The event loop runs by then: this version has come up.
        QTimer::singleShot(0, &window, &UpgradeUtils::confirmRunningVersion);
        ConsoleUpdateWorker::goOnAtStart();
        result = body(&window);
    }
    CAppUpdateLogic::destroy();
    return result;
}

int runTour(QApplication *application, const QString &folder)
{
    const bool isFirst = !Tour::isContinued(folder);
    runConsole([&](ConsoleWindow *window) {
        Tour walk(window, folder);
        // When another process goes on, this one ends when it starts that one, or soon because it does not.
        QObject::connect(&walk, &QThread::finished, application, [&] {
            QTimer::singleShot(walk.isHandedOver() ? 30000 : 0, application, &QCoreApplication::quit);
        });
        walk.start();
        const int result = application->exec();
        while (!walk.wait(20))
            QCoreApplication::processEvents();
        return result;
    });
    if (!isFirst)
        return 0;
    const int failed = Tour::failedSteps(folder);
    QDir(folder + QStringLiteral("/private")).removeRecursively();
    if (failed < 0)
        std::printf("FAILED the tour broke off\n");
    return failed == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char *argv[])
{
    usePrivateSettings(argc, argv);
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    // 150 % is 150 %, not 200.
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    QApplication application(argc, argv);
    application.setApplicationVersion(QString::fromLatin1(LibraryVersion::text()));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QCoreApplication::translate("main", "Shows the KovGui library at work."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption tour(
        QStringLiteral("tour"),
        QCoreApplication::translate("main", "Walk through the guided tour and save its pictures."),
        QStringLiteral("folder"));
    parser.addOption(tour);
    QCommandLineOption crash(QStringLiteral("crash"));
    crash.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOption(crash);
    parser.process(application);

    KovGui::init(KAM_CONSOLE);
    KovGui::setupLogging(true);
    KovGui::forwardQtMessages(true);
    CrashNote::install();
    if (parser.isSet(crash))
        CrashNote::crash();
    KovGui::staticMetaObjectHash()[QStringLiteral("CMessageDataProvider")]
        = &ConsoleMessageProvider::staticMetaObject;
    KovGui::staticMetaObjectHash()[QStringLiteral("CTaskCheckForProductUpdate")]
        = &ConsoleUpdateCheck::staticMetaObject;
    KovGui::staticMetaObjectHash()[QStringLiteral("CTaskInstallProductUpdate")]
        = &ConsoleInstallation::staticMetaObject;
    KovGui::staticMetaObjectHash()[QStringLiteral("CAppUpdateWorker")]
        = &ConsoleUpdateWorker::staticMetaObject;
    Help::setBaseAddress(QStringLiteral("https://help.tessarine.example/@LOCALE@/console/@TOPIC@"));
    CMessageBox::setSupportPageAddress(
        QStringLiteral("https://support.tessarine.example/@LOCALE@/solutions/%1"));
    if (!loadMessages()) {
        std::fprintf(stderr,
                     "console: console_messages.json beside the program cannot be used; see the log.\n");
        return 1;
    }

    if (parser.isSet(tour))
        return runTour(&application, parser.value(tour));
    quitWhenSignalled(&application);
    return runConsole([&application](ConsoleWindow *window) {
        if (!CrashNote::find().isEmpty())
            QTimer::singleShot(0, window->reports(), &ReportsPage::reportCrash);
        return application.exec();
    });
}
