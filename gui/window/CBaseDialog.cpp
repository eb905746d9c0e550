#include "gui/window/CBaseDialog.h"

#include "gui/window/InputGuard_p.h"

#include <QApplication>
#include <QPointer>
#include <QScreen>
#include <QSettings>
#include <QStyle>
#include <QVariant>
#include <QWindow>

namespace {

const char blockingDialogProperty[] = "DynProp_BlockingDialog";

Qt::WindowFlags withCustomFlags(Qt::WindowFlags flags, CWindowInterface::CustomWindowFlags customFlags)
{
    if (customFlags.testFlag(CWindowInterface::FramelessWindow))
        flags |= Qt::FramelessWindowHint;
    return flags;
}

/// Also beside a window of the application that is active: the toolkit takes a dialog for active when the
/// window that it belongs to is.
void alert(QWindow *window)
{
    QWindow *const owner = window->transientParent();
    window->setTransientParent(nullptr);
    window->alert(0);
    window->setTransientParent(owner);
}

/// The toolkit does this by itself for the window that becomes active, and offers it for no other one.
void endAlert(QWindow *window)
{
    QMetaObject::invokeMethod(window, "_q_clearAlert");
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
    void guardInput();
    void askForAttention();
    void endAttention();

    CBaseDialog *const q;
    const CustomWindowFlags customFlags;
    bool askedFor = true;

private:
    QString geometryKey() const;
    QVector<QWindow *> windowsInTaskBar() const;

    void fitIntoScreen();

    bool m_geometryRestored = false;
    InputGuard *m_inputGuard = nullptr;
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
    const QByteArray stored = QSettings().value(key).toByteArray();
    // The toolkit takes a part of it for the whole, and fills up with zeros.
    if (stored.size() == q->QWidget::saveGeometry().size() && q->restoreGeometry(stored))
        fitIntoScreen();
}

void CBaseDialog::Private::fitIntoScreen()
{
    if (q->windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen))
        return;
    QRect place = q->geometry();
    const QScreen *screen = QGuiApplication::screenAt(place.center());
    // The frame is the window manager's, and not known yet.
    const int bar = q->style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, q);
    const QRect available = (screen ? screen : QGuiApplication::primaryScreen())
                                ->availableGeometry()
                                .marginsRemoved(QMargins(bar / 4, bar, bar / 4, bar / 4));
    place.setSize(place.size().expandedTo(q->minimumSizeHint()).boundedTo(available.size()));
    place.moveLeft(qBound(available.left(), place.left(), available.right() + 1 - place.width()));
    place.moveTop(qBound(available.top(), place.top(), available.bottom() + 1 - place.height()));
    q->setGeometry(place);
}

void CBaseDialog::Private::saveGeometry() const
{
    const QString key = geometryKey();
    if (!key.isEmpty())
        QSettings().setValue(key, q->QWidget::saveGeometry());
}

void CBaseDialog::Private::guardInput()
{
    if (!m_inputGuard)
        m_inputGuard = new InputGuard(q);
    m_inputGuard->arm();
}

/// The dialog's and those that it belongs to: most task bars show no dialogs.
QVector<QWindow *> CBaseDialog::Private::windowsInTaskBar() const
{
    QVector<QWindow *> windows;
    for (QWindow *window = q->windowHandle(); window; window = window->transientParent())
        windows.append(window);
    return windows;
}

void CBaseDialog::Private::askForAttention()
{
    for (QWindow *window : windowsInTaskBar())
        alert(window);
}

void CBaseDialog::Private::endAttention()
{
    for (QWindow *window : windowsInTaskBar())
        endAlert(window);
}

CBaseDialog::CBaseDialog(QWidget *parent, Qt::WindowFlags flags, CustomWindowFlags customFlags)
    : QDialog(parent, withCustomFlags(flags, customFlags))
    , d(new Private(this, customFlags))
{
    setAttribute(Qt::WA_QuitOnClose, false);
    if (!parent)
        return;
    for (const char *name : {"vmUuid", "serverUuid"}) {
        const QVariant own = parent->property(name);
        const QVariant value = own.isValid() ? own : parent->window()->property(name);
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

bool CBaseDialog::isAskedFor() const
{
    return d->askedFor;
}

void CBaseDialog::setAskedFor(bool asked)
{
    d->askedFor = asked;
    setAttribute(Qt::WA_ShowWithoutActivating, !asked);
    // The toolkit hands the attribute on only when it creates the window, which winId() has done already.
    if (windowHandle())
        windowHandle()->setProperty("_q_showWithoutActivating", !asked);
}

void CBaseDialog::present()
{
    raise();
    if (d->askedFor)
        activateWindow();
    else
        d->askForAttention();
}

void CBaseDialog::open()
{
    if (parentWidget() && d->askedFor)
        QDialog::open();
    else
        show();
}

int CBaseDialog::exec()
{
    const QPointer<CBaseDialog> guard(this);
    const bool deleteOnClose = testAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_DeleteOnClose, false);
    setProperty(blockingDialogProperty, true);

    const int result = QDialog::exec();

    if (!guard)
        return Rejected;
    setProperty(blockingDialogProperty, QVariant());
    if (deleteOnClose)
        deleteLater();
    return result;
}

void CBaseDialog::setVisible(bool visible)
{
    const bool appears = visible && !isVisible();
    if (appears)
        d->restoreGeometryOnce();
    else if (!visible && isVisible())
        d->saveGeometry();
    if (!appears || d->askedFor) {
        QDialog::setVisible(visible);
        return;
    }
    d->guardInput();
    const QPointer<CBaseDialog> guard(this);
    QDialog::setVisible(true);
    if (guard && isVisible())
        d->askForAttention();
}

void CBaseDialog::changeEvent(QEvent *event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow() && !d->askedFor)
        d->endAttention();
}
