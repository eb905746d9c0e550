// How long the windows stand still while eight threads raise 1,000 messages through queued calls. A heartbeat
// of the event loop measures: the longest time between two beats is the stall.
//
// usage: bench_stalls [ROUNDS]
#include "gui/KovGui.h"
#include "gui/log/Log.h"
#include "gui/messages/CMessageManager.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMainWindow>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <ctime>
#include <thread>
#include <vector>

namespace {

constexpr int threads = 8;
constexpr int messages = 1000;
/// "The virtual machine %1 could not be started"; the parameter makes messages differ.
constexpr int code = int(0x80015E83u);

/// Of the calling thread, in ms: what the stall would be on an idle machine.
double processorTime()
{
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

struct Result
{
    double longestStall = 0; ///< ms
    double longestWork = 0; ///< ms of processor time between two beats
    double allHandled = 0; ///< ms
    int windows = 0;
};

void raise(int thread, bool paced)
{
    CMessageManager *manager = CMessageManager::instance();
    for (int i = thread; i < messages; i += threads) {
        MessageParams params(code);
        params.setIssuerId(QString::number(thread)).setLongMsgParams({QString::number(i)}).setAskedFor(false);
        QMetaObject::invokeMethod(manager, "showMessageBox", Qt::QueuedConnection,
                                  Q_ARG(QVariant, QVariant::fromValue(params)));
        if (paced)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

Result measure(bool paced)
{
    Result result;
    QElapsedTimer sinceBeat;
    double atBeat = processorTime();
    QElapsedTimer all;
    QTimer heart;
    QObject::connect(&heart, &QTimer::timeout, [&] {
        result.longestStall = std::max(result.longestStall, double(sinceBeat.nsecsElapsed()) / 1e6);
        result.longestWork = std::max(result.longestWork, processorTime() - atBeat);
        atBeat = processorTime();
        sinceBeat.restart();
    });
    QApplication::processEvents();
    sinceBeat.start();
    all.start();
    heart.start(0);

    std::atomic<int> running{threads};
    std::vector<std::thread> raisers;
    for (int i = 0; i < threads; ++i)
        raisers.emplace_back([&running, i, paced] {
            raise(i, paced);
            if (--running == 0)
                QMetaObject::invokeMethod(
                    qApp, [] { QCoreApplication::exit(); }, Qt::QueuedConnection);
        });
    QApplication::exec();
    result.allHandled = double(all.nsecsElapsed()) / 1e6;
    for (std::thread &raiser : raisers)
        raiser.join();
    QTimer::singleShot(200, qApp, [] { QCoreApplication::exit(); });
    QApplication::exec();
    heart.stop();

    CMessageManager *manager = CMessageManager::instance();
    for (int i = 0; i < threads; ++i)
        manager->clearMessageQueue(QString::number(i));
    result.windows = manager->getMessageWindowsForId(code).size();
    manager->closeSpecificMessageBox(code);
    QApplication::processEvents();
    return result;
}

} // namespace

int main(int argc, char *argv[])
{
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toLocal8Bit());
    QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Tessarine Benchmarks"));
    application.setQuitOnLastWindowClosed(false);
    KovGui::setLogDirectory(home.path().toLocal8Bit().constData());
    KovGui::init(KAM_CONSOLE);
    QMainWindow window;
    window.show();
    CMessageManager::instance(); // on its own thread
    measure(false); // the first box loads fonts and forms
    const int rounds = argc > 1 ? QByteArray(argv[1]).toInt() : 5;
    for (const bool paced : {false, true}) {
        for (int round = 0; round < rounds; ++round) {
            const Result result = measure(paced);
            std::printf("%s: longest stall %.1f ms (processor %.1f), all raised after %.1f ms, %d windows\n",
                        paced ? "each thread one a millisecond" : "as fast as they can", result.longestStall,
                        result.longestWork, result.allHandled, result.windows);
        }
    }
    return 0;
}
