#pragma once

#include "gui/log/Log.h"

#include <QByteArrayList>

#include <algorithm>

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
    ~LogCapture() { KovGui::setLogOutputFunction(nullptr); }

    int count(const char *part) const
    {
        return int(std::count_if(records().cbegin(), records().cend(),
                                 [part](const QByteArray &record) { return record.contains(part); }));
    }
    QByteArray all() const { return records().join(); }

private:
    static QByteArrayList &records()
    {
        static QByteArrayList list;
        return list;
    }
};
