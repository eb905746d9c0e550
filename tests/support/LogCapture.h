#pragma once

#include "gui/log/Log.h"

#include <QByteArray>

/// Collects the log while it lives. One at a time.
class LogCapture
{
public:
    LogCapture()
    {
        text().clear();
        KovGui::setLogOutputFunction(
            [](const char *record, std::size_t length) { text().append(record, int(length)); });
    }
    ~LogCapture() { KovGui::setLogOutputFunction(nullptr); }

    static QByteArray &text()
    {
        static QByteArray captured;
        return captured;
    }
    static int count(const char *part) { return text().count(part); }
};
