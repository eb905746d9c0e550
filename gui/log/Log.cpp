#include "gui/log/Log.h"

#include "gui/log/LogDestination_p.h"
#include "gui/platform/LastError.h"
#include "gui/platform/ThisProcess.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace KovGui {

namespace {

/// One record, filled from left to right; what does not fit is left out.
class Record
{
public:
    void add(const char *text) { add(text, std::strlen(text)); }

    void add(const char *text, std::size_t length)
    {
        length = length < Longest - m_length ? length : Longest - m_length;
        std::memcpy(m_text + m_length, text, length);
        m_length += length;
    }

    void add(char c)
    {
        if (m_length < Longest)
            m_text[m_length++] = c;
    }

    void addNumber(unsigned number, unsigned base, int width = 1)
    {
        char digits[16];
        int count = 0;
        for (; number || count < width; number /= base)
            digits[count++] = "0123456789abcdef"[number % base];
        while (count)
            add(digits[--count]);
    }

    void addFormatted(const char *format, va_list arguments)
    {
        // Longest + 1 bytes are free for the text and its terminating zero.
        const int length = std::vsnprintf(m_text + m_length, Longest + 1 - m_length, format, arguments);
        if (length < 0)
            return;
        if (std::size_t(length) <= Longest - m_length) {
            m_length += std::size_t(length);
            return;
        }
        m_length = Longest;
        dropHalfCharacter();
    }

    const char *finish()
    {
        m_text[m_length++] = '\n';
        return m_text;
    }

    std::size_t length() const { return m_length; }

private:
    /// A cut inside a UTF-8 character would make the file unreadable for strict tools. Other encodings stay
    /// as cut.
    void dropHalfCharacter()
    {
        for (std::size_t tail = 1; tail <= 3 && tail < m_length; ++tail) {
            const auto byte = static_cast<unsigned char>(m_text[m_length - tail]);
            if (byte < 0x80)
                return;
            if (byte < 0xc0)
                continue;
            const std::size_t whole = byte < 0xe0 ? 2 : byte < 0xf0 ? 3 : 4;
            if (tail < whole)
                m_length -= tail;
            return;
        }
    }

    static constexpr std::size_t Longest = 4094;
    std::size_t m_length = 0;
    char m_text[4096];
};

} // namespace

static std::atomic<int> s_verbosity{1};
static std::atomic<LogOutputFunction> s_output{LogDestination::write};

/// Threads that log at once would wait for one counter's cache line: each counts in one of several, alone on
/// its own.
struct alignas(64) CallCount
{
    std::atomic<int> calls{0};
};
static CallCount s_callsInFlight[16];

static std::atomic<int> &callsOfThisThread()
{
    static std::atomic<unsigned> s_threads{0};
    static thread_local CallCount &mine
        = s_callsInFlight[s_threads.fetch_add(1) % std::size(s_callsInFlight)];
    return mine.calls;
}

static const char *behindLast(const char *text, const char *separators)
{
    for (const char *at = text; (at = std::strpbrk(at, separators));)
        text = ++at;
    return text;
}

static void addTime(Record &record)
{
    const Platform::LocalTime time = Platform::localTime();
    record.addNumber(unsigned(time.month), 10, 2);
    record.add('-');
    record.addNumber(unsigned(time.day), 10, 2);
    record.add(' ');
    record.addNumber(unsigned(time.hour), 10, 2);
    record.add(':');
    record.addNumber(unsigned(time.minute), 10, 2);
    record.add(':');
    record.addNumber(unsigned(time.second), 10, 2);
    record.add('.');
    record.addNumber(unsigned(time.millisecond), 10, 3);
    record.add(' ');
}

static void addSeverity(Record &record, unsigned severity)
{
    static const char letters[] = "FWIDT";
    if (severity < sizeof letters - 1) {
        record.add(letters[severity]);
    } else {
        record.add("O(");
        record.addNumber(severity, 10);
        record.add(')');
    }
    record.add(' ');
}

static void addOrigin(Record &record, const char *module)
{
    record.add('/');
    record.add(module ? module : "");
    record.add(':');
    record.addNumber(Platform::processId(), 10);
    record.add(':');
    record.addNumber(Platform::threadId(), 16);
    record.add("/ ");
}

static void addPlace(Record &record, const LogContext &context)
{
    record.add('{');
    record.add(behindLast(context.function, ":"));
    record.add(" @ ");
    record.add(behindLast(context.file, "\\/"));
    record.add(':');
    if (context.line < 0)
        record.add('-');
    record.addNumber(context.line < 0 ? 0u - unsigned(context.line) : unsigned(context.line), 10);
    record.add("} ");
}

static void output(const char *record, std::size_t length) noexcept
{
    std::atomic<int> &calls = callsOfThisThread();
    LogOutputFunction used = nullptr;
    do {
        calls.fetch_add(1);
        used = s_output.load();
        try {
            used(record, length);
        } catch (...) {
            // A caller that reports a failure must not get another one.
        }
        calls.fetch_sub(1);
    } while (s_output.load() != used);
}

static void write(const LogContext &context, unsigned level, const char *format, va_list arguments)
{
    const Platform::LastErrorKeeper keeper;
    const bool fromToolkit = level / 16 == 1;
    Record record;
    addTime(record);
    if (fromToolkit)
        record.add("QT: ");
    addSeverity(record, level % 16);
    if (context.category && *context.category) {
        record.add(context.category);
        record.add(' ');
    }
    addOrigin(record, context.module);
    if (!fromToolkit && context.file && *context.file && context.function && *context.function)
        addPlace(record, context);
    record.addFormatted(format ? format : "", arguments);
    const char *text = record.finish();
    output(text, record.length());
}

void log(const char *category, const char *module, unsigned level, const char *format, ...) noexcept
{
    LogContext context;
    context.category = category;
    context.module = module;
    va_list arguments;
    va_start(arguments, format);
    write(context, level, format, arguments);
    va_end(arguments);
}

void logRecord(const LogContext &context, unsigned level, const char *format, ...) noexcept
{
    va_list arguments;
    va_start(arguments, format);
    write(context, level, format, arguments);
    va_end(arguments);
}

int logVerbosity() noexcept
{
    return s_verbosity.load(std::memory_order_relaxed);
}

void setLogVerbosity(int level) noexcept
{
    s_verbosity.store(level, std::memory_order_relaxed);
}

void setLogDirectory(const char *directory) noexcept
{
    const Platform::LastErrorKeeper keeper;
    LogDestination::setDirectory(directory);
}

const char *logFilePath() noexcept
{
    return LogDestination::filePath();
}

void setLogOutputFunction(LogOutputFunction function) noexcept
{
    s_output.store(function ? function : LogDestination::write);
}

int logCallsInFlight() noexcept
{
    int all = 0;
    for (const CallCount &count : s_callsInFlight)
        all += count.calls.load();
    return all;
}

} // namespace KovGui
