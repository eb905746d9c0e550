#include "gui/window/CBaseDialog.h"

#include <QPointer>
#include <QSettings>
#include <QVariant>

namespace {

const char BlockingDialogProperty[] = "DynProp_BlockingDialog";

Qt::WindowFlags withCustomFlags(Qt::WindowFlags flags, CWindowInterface::CustomWindowFlags customFlags)
{
    if (customFlags.testFlag(CWindowInterface::FramelessWindow))
        flags |= Qt::FramelessWindowHint;
    return flags;
}

} // namespace

class CBaseDialog::Private
{
public:
    Private(CBaseDialog *dialog, CustomWindowFlags flags)
        : q(dialog)
        , customFlags(flags)
    { }

    void restoreGeometryOnce();
    void saveGeometry() const;

    CBaseDialog *const q;
    const CustomWindowFlags customFlags;

private:
    QString geometryKey() const;

    bool m_geometryRestored = false;
};

QString CBaseDialog::Private::geometryKey() const
{
    QString title = q->windowTitle();
    if (!customFlags.testFlag(SaveGeometry) || title.isEmpty())
        return QString();
    title.replace(QLatin1Char('/'), QLatin1Char('_')).replace(QLatin1Char('\\'), QLatin1Char('_'));
    return QLatin1String("Other Windows/") + title;
}

void CBaseDialog::Private::restoreGeometryOnce()
{
    const QString key = geometryKey();
    if (m_geometryRestored || key.isEmpty())
        return;
    m_geometryRestored = true;
    q->restoreGeometry(QSettings().value(key).toByteArray());
}

void CBaseDialog::Private::saveGeometry() const
{
    const QString key = geometryKey();
    if (!key.isEmpty())
        QSettings().setValue(key, q->QWidget::saveGeometry());
}

CBaseDialog::CBaseDialog(QWidget *parent, Qt::WindowFlags flags, CustomWindowFlags customFlags)
    : QDialog(parent, withCustomFlags(flags, customFlags))
    , d(new Private(this, customFlags))
{
    setAttribute(Qt::WA_QuitOnClose, false);
    if (!parent)
        return;
    for (const char *name : {"vmUuid", "serverUuid"}) {
        const QVariant value = parent->window()->property(name);
        if (value.isValid())
            setProperty(name, value);
    }
}

CBaseDialog::~CBaseDialog()
{
    // The base class hides a visible dialog too late for setVisible() below.
    if (isVisible())
        d->saveGeometry();
}

CWindowInterface::CustomWindowFlags CBaseDialog::customWindowFlags() const
{
    return d->customFlags;
}

bool CBaseDialog::canBeParent() const
{
    return !d->customFlags.testFlag(NotAParent);
}

void CBaseDialog::open()
{
    if (parentWidget())
        QDialog::open();
    else
        show();
}

int CBaseDialog::exec()
{
    const QPointer<CBaseDialog> guard(this);
    const bool deleteOnClose = testAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_DeleteOnClose, false);
    setProperty(BlockingDialogProperty, true);

    const int result = QDialog::exec();

    if (!guard)
        return Rejected;
    setProperty(BlockingDialogProperty, QVariant());
    if (deleteOnClose)
        deleteLater();
    return result;
}

void CBaseDialog::setVisible(bool visible)
{
    if (visible && !isVisible())
        d->restoreGeometryOnce();
    else if (!visible && isVisible())
        d->saveGeometry();
    QDialog::setVisible(visible);
}
