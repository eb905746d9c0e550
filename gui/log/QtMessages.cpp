#include "gui/log/Log.h"
#include "gui/log/LogText.h"

#include <atomic>
#include <cstring>

namespace KovGui {

static std::atomic<bool> s_forwards{false};
static std::atomic<QtMessageHandler> s_previous{nullptr};

static int levelOf(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return 3;
    case QtInfoMsg:
        return 2;
    case QtWarningMsg:
        return 1;
    default:
        return 0;
    }
}

/// Qt quotes addresses with the user in them, such as the key under which it keeps a proxy's credentials.
static QString withoutUserInfo(QString message)
{
    const QLatin1String slashes("://");
    for (int start = 0; (start = message.indexOf(slashes, start)) >= 0;) {
        start += slashes.size();
        int end = start;
        while (end < message.size() && !message.at(end).isSpace()
               && !QLatin1String("/?#'\"<>").contains(message.at(end)))
            ++end;
        const int user = message.leftRef(end).lastIndexOf(QLatin1Char('@'));
        if (user >= start)
            message.remove(start, user + 1 - start);
    }
    return message;
}

static void forward(QtMsgType type, const QMessageLogContext &origin, const QString &message)
{
    const int level = levelOf(type);
    if (level > 0 && logVerbosity() < level)
        return;
    LogContext context;
    // What Qt calls "default" is a message without a category.
    context.category
        = origin.category && std::strcmp(origin.category, "default") != 0 ? origin.category : nullptr;
    context.module = "KovGui";
    context.file = origin.file;
    context.line = origin.line;
    context.function = origin.function;
    logRecord(context, LogSourceToolkit | unsigned(level), "%s",
              logText(withoutUserInfo(message)).constData());
}

static void handle(QtMsgType type, const QMessageLogContext &origin, const QString &message)
{
    // Qt keeps a message that an output function causes away from here.
    if (s_forwards)
        forward(type, origin, message);
    if (const QtMessageHandler previous = s_previous)
        previous(type, origin, message);
}

void forwardQtMessages(bool on)
{
    s_forwards = on;
    if (on && !s_previous) {
        s_previous = qInstallMessageHandler(handle);
    } else if (!on && s_previous) {
        const QtMessageHandler present = qInstallMessageHandler(s_previous);
        if (present == handle)
            s_previous = nullptr;
        else // Somebody's handler stands before ours and calls it: both stay, ours passes everything on.
            qInstallMessageHandler(present);
    }
}

} // namespace KovGui
