#include "gui/window/ClosedTextBrowser_p.h"

#include <QAbstractTextDocumentLayout>
#include <QImage>
#include <QTextDocument>
#include <QTextObjectInterface>

namespace {

/// Takes the place of the toolkit's pictures, which look for a file of a higher resolution before they ask
/// for the resource.
class NoPicture : public QObject, public QTextObjectInterface
{
    Q_OBJECT
    Q_INTERFACES(QTextObjectInterface)

public:
    QSizeF intrinsicSize(QTextDocument *, int, const QTextFormat &) override { return QSizeF(0, 0); }
    void drawObject(QPainter *, const QRectF &, QTextDocument *, int, const QTextFormat &) override { }
};

QObject *noPicture()
{
    static NoPicture handler;
    return &handler;
}

} // namespace

ClosedTextBrowser::ClosedTextBrowser(QWidget *parent)
    : QTextBrowser(parent)
{
    setOpenLinks(false);
    setAcceptDrops(false);
}

ClosedTextBrowser::~ClosedTextBrowser() = default;

QVariant ClosedTextBrowser::loadResource(int type, const QUrl &)
{
    // Nothing may be null here: the document would go and open the file itself.
    if (type == QTextDocument::ImageResource) {
        QImage image(1, 1, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        return image;
    }
    return QByteArray(" ");
}

void ClosedTextBrowser::closeDocument()
{
    document()->documentLayout()->registerHandler(QTextFormat::ImageObject, noPicture());
}

#include "ClosedTextBrowser.moc"
