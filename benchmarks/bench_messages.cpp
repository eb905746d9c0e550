// Deciding and queueing messages. There is no peer that queues per issuer: the measure is that the time of
// one message stays the same from 1,000 waiting messages to 100,000, and with one issuer or a thousand.
#include "gui/KovGui.h"
#include "gui/log/Log.h"
#include "gui/messages/CMessageManager.h"

#include <QApplication>
#include <QMainWindow>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

/// "The virtual machine %1 could not be started"; the parameter makes messages differ.
constexpr int code = int(0x80015E83u);

void show(int number, const QString &issuer)
{
    CMessageManager::instance()->showMessageBox(code, issuer, {}, {QString::number(number)});
}

/// Every message stands in the queue of its issuer when an iteration ends.
void decideAndQueue(benchmark::State &state)
{
    const int messages = int(state.range(0));
    const int issuers = int(state.range(1));
    KovGui::setLogVerbosity(int(state.range(2)));
    CMessageManager *manager = CMessageManager::instance();
    manager->setMessagingBlocked(true);
    for (auto _ : state) {
        for (int i = 0; i < messages; ++i)
            show(i, QString::number(i % issuers));
        state.PauseTiming();
        for (int i = 0; i < issuers; ++i)
            manager->clearMessageQueue(QString::number(i));
        state.ResumeTiming();
    }
    manager->setMessagingBlocked(false);
    state.SetItemsProcessed(state.iterations() * messages);
}

/// Every message equals one that waits among 100,000.
void merge(benchmark::State &state)
{
    KovGui::setLogVerbosity(0);
    CMessageManager *manager = CMessageManager::instance();
    manager->setMessagingBlocked(true);
    const QString issuer = QStringLiteral("vm");
    const int waiting = int(state.range(0));
    for (int i = 0; i < waiting; ++i)
        show(i, issuer);
    for (auto _ : state)
        show(waiting - 1, issuer);
    manager->clearMessageQueue(issuer);
    manager->setMessagingBlocked(false);
}

void arguments(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgNames({"messages", "issuers", "verbosity"});
    for (const int verbosity : {0, 1}) {
        benchmark->Args({1000, 1000, verbosity});
        benchmark->Args({100000, 1000, verbosity});
        benchmark->Args({100000, 1, verbosity});
    }
    benchmark->Unit(benchmark::kMillisecond);
}

BENCHMARK(decideAndQueue)->Apply(arguments);
BENCHMARK(merge)->ArgName("waiting")->Arg(1000)->Arg(100000);

} // namespace

int main(int argc, char **argv)
{
    const QTemporaryDir settings;
    qputenv("XDG_CONFIG_HOME", settings.path().toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    KovGui::init(KAM_CONSOLE);
    KovGui::setLogDirectory(settings.path().toLocal8Bit().constData());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
