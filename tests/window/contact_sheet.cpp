#include "gui/KovGui.h"
#include "gui/log/Log.h"
#include "tests/window/DialogTable.h"
#include "tests/window/DialogVariants.h"

#include <QDir>
#include <QPainter>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <utility>

namespace {

constexpr int gap = 12;
/// What moves has moved on by then.
constexpr int settleMilliseconds = 300;

QImage pictureOf(const DialogRow &row)
{
    const std::unique_ptr<QWidget> dialog(row.make());
    dialog->setAttribute(Qt::WA_DontShowOnScreen);
    dialog->show();
    dialog->activateWindow();
    // Scenes are drawn later, and slide in.
    QImage image;
    for (QImage before; before.isNull() || before != image;) {
        before = std::exchange(image, {});
        QTest::qWait(settleMilliseconds);
        image = dialog->grab().toImage();
    }
    image.setDevicePixelRatio(1);
    return image;
}

/// In rows, as they come.
QImage sheetOf(const QList<QImage> &pictures)
{
    const int sheetWidth = qRound(1600 * qApp->devicePixelRatio());
    QVector<QPoint> places;
    int x = gap;
    int y = gap;
    int rowHeight = 0;
    int width = sheetWidth;
    for (const QImage &picture : pictures) {
        if (x > gap && x + picture.width() + gap > sheetWidth) {
            x = gap;
            y += rowHeight + gap;
            rowHeight = 0;
        }
        places.append({x, y});
        x += picture.width() + gap;
        width = qMax(width, x);
        rowHeight = qMax(rowHeight, picture.height());
    }
    QImage sheet(width, y + rowHeight + gap, QImage::Format_RGB32);
    sheet.fill(QColor(0x80, 0x90, 0xa0));
    QPainter painter(&sheet);
    for (int i = 0; i < pictures.size(); ++i)
        painter.drawImage(places.at(i), pictures.at(i));
    return sheet;
}

} // namespace

/// usage: contact_sheet FOLDER - draws every window of the library, one sheet a variant, at the scale of
/// QT_SCALE_FACTOR.
int main(int argc, char *argv[])
{
    const QTemporaryDir home;
    for (const char *name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(name, home.path().toLocal8Bit());
    QApplication application(argc, argv);
    QApplication::setCursorFlashTime(0);
    KovGui::setLogOutputFunction([](const char *, std::size_t) {});
    KovGui::init(KAM_CONSOLE);
    CMessageBox::setSupportPageAddress(QStringLiteral("https://support.example/%1"));
    const QDir folder(application.arguments().value(1));
    folder.mkpath(QStringLiteral("."));
    const QString scale = qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1"));
    for (const DialogVariant &variant : dialogVariants()) {
        variant.enter();
        QList<QImage> pictures;
        for (const DialogRow &row : dialogTable())
            pictures.append(pictureOf(row));
        variant.leave();
        const QString name = QStringLiteral("%1 at %2.png").arg(QLatin1String(variant.name), scale);
        const QString file = folder.filePath(QString(name).replace(QLatin1Char(' '), QLatin1Char('-')));
        if (!sheetOf(pictures).save(file))
            return 1;
        puts(qPrintable(file));
    }
    return 0;
}
