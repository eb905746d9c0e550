// One log record on disk when the call returns: the library, beside spdlog with a flush at each record, and
// beside the least that can be done, one format and one appending write.

#include "gui/log/Log.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

static constexpr int Runs = 9;
static constexpr int recordsOfARun = 200000;

struct Writer
{
    const char *name;
    std::function<void(int)> write;
    std::vector<double> microseconds;
};

static double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

static double microsecondsEach(int threadCount, const std::function<void(int)> &write)
{
    const int each = recordsOfARun / threadCount;
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread)
        threads.emplace_back([each, &write] {
            for (int i = 0; i < each; ++i)
                write(i);
        });
    for (std::thread &thread : threads)
        thread.join();
    const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - start;
    return time.count() / (each * threadCount);
}

static void writeBare(int file, int i)
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts{};
    localtime_r(&now.tv_sec, &parts);
    static thread_local const unsigned thread = unsigned(gettid());
    static const unsigned process = unsigned(getpid());
    char record[4096];
    const int length
        = std::snprintf(record, sizeof record, "%02d-%02d %02d:%02d:%02d.%03d I /%s:%u:%x/ record %d of %s\n",
                        parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                        int(now.tv_nsec / 1000000), "KovGui", process, thread, i, "the benchmark");
    if (write(file, record, std::size_t(length)) != length)
        std::abort();
}

static void measure(int threadCount, std::vector<Writer> writers)
{
    // Alternating, so that whatever else the machine does meets all of them.
    for (int run = 0; run < Runs; ++run)
        for (Writer &writer : writers)
            writer.microseconds.push_back(microsecondsEach(threadCount, writer.write));
    const double ours = median(writers.front().microseconds);
    for (const Writer &writer : writers) {
        const double theirs = median(writer.microseconds);
        std::printf("| %d | %-28s | %6.3f | %5.2f |\n", threadCount, writer.name, theirs, ours / theirs);
    }
}

int main()
{
    char folder[] = "/tmp/bench_log.XXXXXX";
    if (!mkdtemp(folder))
        return 1;
    const std::string base = std::string(folder) + '/';
    KovGui::setLogDirectory(folder);

    const auto makePeer = [&base](const char *name) {
        auto logger = spdlog::basic_logger_mt(name, base + name);
        logger->flush_on(spdlog::level::info);
        return logger;
    };
    const auto alike = makePeer("spdlog-alike");
    alike->set_pattern("%m-%d %H:%M:%S.%e %L /%n:%P:%t/ %v");
    const auto standard = makePeer("spdlog-default");
    const int bare = open((base + "bare").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);

    const std::vector<Writer> writers{
        {"KovGui::log",
         [](int i) { KovGui::log("", "KovGui", 2, "record %d of %s", i, "the benchmark"); },
         {}},
        {"spdlog, flush, our pattern",
         [&](int i) { alike->info("record {} of {}", i, "the benchmark"); },
         {}},
        {"spdlog, flush, its pattern",
         [&](int i) { standard->info("record {} of {}", i, "the benchmark"); },
         {}},
        {"snprintf and write(O_APPEND)", [bare](int i) { writeBare(bare, i); }, {}},
    };
    std::printf("median of %d runs of %d records\n\n", Runs, recordsOfARun);
    std::printf("| threads | writer | us a record | ours / it |\n| --- | --- | --- | --- |\n");
    measure(1, writers);
    measure(4, writers);

    close(bare);
    for (const char *name : {"tessarine-qor.log", "spdlog-alike", "spdlog-default", "bare"})
        unlink((base + name).c_str());
    rmdir(folder);
    return 0;
}
