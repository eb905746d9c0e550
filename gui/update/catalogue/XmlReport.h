#pragma once

#include <QStringList>

/**
 * What reading an XML model had to say: one line an entry, at most maximumEntries of each kind (reading stops
 * at the last error). The texts may quote names from the file; they hold no line feeds.
 */
struct XmlReport
{
    static constexpr int maximumEntries = 100;

    /// Not empty means that the read failed as a whole.
    QStringList errors;
    /// Absent optional tags; they never make a read fail.
    QStringList warnings;
};
