#pragma once

#include <QImage>
#include <QMetaType>
#include <QString>

#include <functional>

/// A picture of a report, read on a worker thread: no larger than a screen, whatever the file holds.
struct ReportPicture
{
    QImage image; ///< null when it is not shown
    QSize size; ///< of the whole picture; invalid when it is none

    /// The longer side of a picture that is read.
    static constexpr int largestSide = 2048;

    /// @param goOn  false: the reading ends soon
    static ReportPicture read(const QString &path, const std::function<bool()> &goOn);
};

Q_DECLARE_METATYPE(ReportPicture)
