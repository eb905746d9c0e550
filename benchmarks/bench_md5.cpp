#include "gui/tasks/download/CMd5Calculator.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryFile>
#include <QTextStream>

#include <algorithm>

#include <sys/resource.h>

/*
 * CMd5Calculator beside md5sum on a sparse file: 4 GiB, five alternating runs, or other numbers as arguments
 * (MiB, runs). Prints the medians of wall and processor time, their ratios, and the calculator's peak memory.
 */
namespace {

struct Times
{
    double wall = 0;
    double processor = 0;
};

double processorSeconds(int who)
{
    rusage usage;
    getrusage(who, &usage);
    const auto seconds = [](const timeval &time) { return double(time.tv_sec) + double(time.tv_usec) / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

template <typename Work>
Times measured(int who, Work work)
{
    const double before = processorSeconds(who);
    QElapsedTimer timer;
    timer.start();
    work();
    return {double(timer.nsecsElapsed()) / 1e9, processorSeconds(who) - before};
}

double median(QVector<Times> runs, double Times::*field)
{
    std::sort(runs.begin(), runs.end(),
              [field](const Times &a, const Times &b) { return a.*field < b.*field; });
    return runs.at(runs.size() / 2).*field;
}

QByteArray calculated(const QString &path)
{
    QByteArray digest;
    auto *calculator = new CMd5Calculator(path);
    QObject::connect(calculator, &CMd5Calculator::finished, calculator,
                     [&digest](bool, const QString &text) { digest = text.toLatin1(); });
    QObject::connect(calculator, &QObject::destroyed, QCoreApplication::instance(), &QCoreApplication::quit);
    calculator->start();
    QCoreApplication::exec();
    return digest;
}

QByteArray summed(const QString &path)
{
    QProcess process;
    process.start(QStringLiteral("md5sum"), {path});
    process.waitForFinished(-1);
    return process.readAllStandardOutput().left(32);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const qint64 size = (argc > 1 ? qint64(QByteArray(argv[1]).toInt()) : 4096) << 20;
    const int runs = argc > 2 ? std::max(1, QByteArray(argv[2]).toInt()) : 5;
    QTextStream out(stdout);
    QTemporaryFile file;
    if (!file.open() || !file.resize(size)) {
        out << "bench_md5: no temporary file of that size\n";
        return 1;
    }
    QVector<Times> ours;
    QVector<Times> theirs;
    for (int i = 0; i < runs; ++i) {
        QByteArray digest;
        QByteArray expected;
        ours << measured(RUSAGE_SELF, [&] { digest = calculated(file.fileName()); });
        theirs << measured(RUSAGE_CHILDREN, [&] { expected = summed(file.fileName()); });
        if (digest != expected) {
            out << "bench_md5: the digests differ\n";
            return 1;
        }
    }
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    for (const auto &[name, field] :
         {std::make_pair("wall", &Times::wall), std::make_pair("processor", &Times::processor)}) {
        const double our = median(ours, field);
        const double their = median(theirs, field);
        out << name << ": CMd5Calculator " << our << " s, md5sum " << their << " s, ratio " << our / their
            << '\n';
    }
    out << "peak memory of this process: " << usage.ru_maxrss << " KiB\n";
    return 0;
}
