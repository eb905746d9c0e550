#pragma once

#include "gui/log/Log.h"

#include <QByteArray>

/// Collects the log while it lives. One at a time.
class LogCapture
{
public:
    /// @param verbosity  of the log meanwhile
    explicit LogCapture(int verbosity = KovGui::logVerbosity())
        : m_verbosity(KovGui::logVerbosity())
    {
        text().clear();
        KovGui::setLogVerbosity(verbosity);
        KovGui::setLogOutputFunction(
            [](const char *record, std::size_t length) { text().append(record, int(length)); });
    }
    ~LogCapture()
    {
        KovGui::setLogOutputFunction(nullptr);
        KovGui::setLogVerbosity(m_verbosity);
    }

    static QByteArray &text()
    {
        static QByteArray captured;
        return captured;
    }
    static int count(const char *part) { return text().count(part); }

private:
    const int m_verbosity;
};
