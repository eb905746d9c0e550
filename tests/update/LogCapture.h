#pragma once

#include "gui/log/Log.h"

#include <QByteArray>
#include <QByteArrayList>

/// Keeps the records of the log, up to verbosity 2, while it lives. One at a time.
class LogCapture
{
public:
    LogCapture()
    {
        records().clear();
        KovGui::setLogVerbosity(2);
        KovGui::setLogOutputFunction(
            [](const char *record, std::size_t length) { records() << QByteArray(record, int(length)); });
    }
    ~LogCapture()
    {
        KovGui::setLogOutputFunction(nullptr);
        KovGui::setLogVerbosity(1);
    }

    int count(const char *part) const
    {
        int found = 0;
        for (const QByteArray &record : qAsConst(records()))
            found += record.contains(part) ? 1 : 0;
        return found;
    }
    QByteArray all() const { return records().join(); }

private:
    static QByteArrayList &records()
    {
        static QByteArrayList list;
        return list;
    }
};
