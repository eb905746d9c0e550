#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/tasks/download/DownloadProgressData.h"

#include <QByteArray>

/**
 * Reads the progress out of what the download utility prints, which arrives cut anywhere.
 *
 * A report is a key ("FILE_SIZE: ", "DOWNLOADING_RATE: ", "DOWNLOADED_BYTES: ", "ESTIMATED_TIME: ",
 * "PROGRESS: ") with one or more digits behind it; of several with the same key the last counts. A number at
 * the end of a piece waits for the next one, as more digits may follow. A number that does not fit leaves its
 * field as it was; more than 100 percent count as 100. No I/O; keeps at most one unfinished line of a few
 * KiB.
 */
class KOVGUI_EXPORT DownloadOutput
{
public:
    /// The next piece.
    void add(const QByteArray &chunk);
    /// Nothing follows: a number at the end is whole. False when nothing waited for more.
    bool finish();
    const DownloadProgressData &progress() const { return m_progress; }

private:
    void read(bool atEnd);

    QByteArray m_unfinished;
    DownloadProgressData m_progress;
};
