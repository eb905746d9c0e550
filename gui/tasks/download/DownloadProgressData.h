#pragma once

#include <QMetaType>

/// How far a download is. A value type; what is not known yet is 0.
struct DownloadProgressData
{
    int progress = 0; ///< percent, 0 to 100
    int estimatedTime = 0; ///< seconds left
    qint64 downloadedBytes = 0;
    qint64 fileSize = 0; ///< bytes
    int downloadingRate = 0; ///< bytes a second
};

Q_DECLARE_METATYPE(DownloadProgressData)
