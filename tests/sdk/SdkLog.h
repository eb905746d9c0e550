#pragma once

#include "kov_sdk/KovSdk.h"

#include <QStringList>

#include <mutex>

/// Collects the lines of the service client library while it lives.
class SdkLog
{
public:
    SdkLog() { KovApi_SetLogFunction(&SdkLog::add); }
    ~SdkLog()
    {
        KovApi_SetLogFunction(nullptr);
        take();
    }

    static QStringList take()
    {
        const std::lock_guard<std::mutex> lock(mutex());
        QStringList taken;
        taken.swap(lines());
        return taken;
    }

private:
    static void add(unsigned level, const char *text)
    {
        const std::lock_guard<std::mutex> lock(mutex());
        lines().append(QStringLiteral("%1 %2").arg(level).arg(QString::fromUtf8(text)));
    }
    static std::mutex &mutex()
    {
        static std::mutex mutex;
        return mutex;
    }
    static QStringList &lines()
    {
        static QStringList lines;
        return lines;
    }
};
