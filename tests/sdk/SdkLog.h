#pragma once

#include "kov_sdk/KovSdk.h"

#include <QStringList>

#include <mutex>
#include <utility>

/// Collects the lines of the service client library while it lives.
class SdkLog
{
public:
    SdkLog() { KovApi_SetLogFunction(&SdkLog::add); }
    ~SdkLog() { KovApi_SetLogFunction(nullptr); }

    static QStringList take()
    {
        const std::lock_guard<std::mutex> lock(s_mutex);
        return std::exchange(s_lines, QStringList());
    }

private:
    static void add(unsigned level, const char *text)
    {
        const std::lock_guard<std::mutex> lock(s_mutex);
        s_lines.append(QString("%1 %2").arg(level).arg(QString::fromUtf8(text)));
    }

    static inline std::mutex s_mutex;
    static inline QStringList s_lines;
};
