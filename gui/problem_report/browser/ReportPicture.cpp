#include "gui/problem_report/browser/ReportPicture_p.h"

#include <QFile>
#include <QImageReader>

namespace {

/// Bytes of the picture in memory, where it cannot be read row by row.
constexpr qint64 largestWhole = 64 * 1024 * 1024;
/// Pixels that are read row by row, some seconds' work.
constexpr qint64 mostPixels = 600 * 1000 * 1000;

/// Ends when its reader is to stop.
class StoppableFile : public QFile
{
public:
    StoppableFile(const QString &path, const std::function<bool()> &goOn)
        : QFile(path)
        , m_goOn(goOn)
    { }

protected:
    qint64 readData(char *data, qint64 size) override { return m_goOn() ? QFile::readData(data, size) : -1; }

private:
    const std::function<bool()> &m_goOn;
};

/// From its header (PNG 1.2, 11.2.2): eight bits a channel, true colour, not interlaced. Such a one is made
/// smaller while it is read.
bool isReadByRows(const QByteArray &header)
{
    return header.size() >= 29 && header.at(24) == 8 && (header.at(25) == 2 || header.at(25) == 6)
           && header.at(28) == 0;
}

} // namespace

ReportPicture ReportPicture::read(const QString &path, const std::function<bool()> &goOn)
{
    ReportPicture picture;
    StoppableFile file(path, goOn);
    if (!file.open(QIODevice::ReadOnly))
        return picture;
    const QByteArray header = file.peek(32);
    QImageReader reader(&file, "png");
    picture.size = reader.size();
    const qint64 pixels = qint64(picture.size.width()) * picture.size.height();
    if (!picture.size.isValid() || pixels <= 0)
        return picture;
    const bool isLarge = pixels * 4 > largestWhole;
    if (pixels > mostPixels || (isLarge && !isReadByRows(header)))
        return picture;
    if (picture.size.width() > largestSide || picture.size.height() > largestSide)
        reader.setScaledSize(
            picture.size.scaled(largestSide, largestSide, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    picture.image = reader.read();
    return picture;
}
