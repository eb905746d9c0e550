#include "gui/content/CContentView.h"

#include "gui/content/CContentArea.h"
#include "gui/content/ContentAccessibility_p.h"
#include "gui/content/ContentSceneWidget_p.h"
#include "gui/content/HostedWidget_p.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"

#include <QLabel>
#include <QPointer>
#include <QQmlEngine>
#include <QQmlError>
#include <QQuickItem>
#include <QQuickWindow>

namespace {

const char viewProperty[] = "kovContentView";

void chooseRenderer()
{
    static bool chosen = false;
    if (!chosen && qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND")
        && QQuickWindow::sceneGraphBackend().isEmpty())
        QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
    chosen = true;
}

} // namespace

class CContentView::Private
{
public:
    ContentSceneWidget *scene = nullptr;
    CContentArea *area = nullptr;
    QPointer<QQuickItem> container{};
    QLabel *complaint = nullptr;
};

CContentView::CContentView(QWidget *parent)
    : QWidget(parent)
    , d(new Private)
{
    chooseRenderer();
    registerHostedWidget();
    setObjectName(QStringLiteral("CContentView"));
    d->scene = new ContentSceneWidget(this);
    d->scene->setObjectName(QStringLiteral("scene"));
    d->scene->quickWindow()->setProperty(viewProperty, QVariant::fromValue<QWidget *>(this));
    d->scene->setSource(QUrl(QStringLiteral("qrc:/qml/ContentRoot.qml")));
    installContentAccessibility();

    if (QQuickItem *root = d->scene->rootObject())
        d->container = root->findChild<QQuickItem *>(QStringLiteral("contentContainer"));
    d->area = new CContentArea(d->container, this);
    if (!d->container) {
        const auto errors = d->scene->errors();
        for (const QQmlError &error : errors)
            KOV_LOG(0, "(!)Error: Qt Quick cannot be used: %s",
                    KovGui::logText(error.toString()).constData());
        d->complaint = new QLabel(tr("The QML modules of Qt Quick are not installed."), this);
        d->complaint->setObjectName(QStringLiteral("complaint"));
        d->complaint->setWordWrap(true);
        d->complaint->setMargin(16);
        return;
    }
    connect(d->container, &QQuickItem::implicitWidthChanged, this, [this] { updateGeometry(); });
    connect(d->container, &QQuickItem::implicitHeightChanged, this, [this] { updateGeometry(); });
}

CContentView::~CContentView()
{
    // Scenes look at their descriptions until they are gone.
    delete d->scene;
}

CContentArea *CContentView::contentArea() const
{
    return d->area;
}

QWidget *CContentView::sceneWidget() const
{
    return d->scene;
}

bool CContentView::focusFirst(QQuickItem *part)
{
    return d->scene->focusInside(part, true);
}

CContentView *CContentView::of(const QQuickWindow *window)
{
    return window ? qobject_cast<CContentView *>(window->property(viewProperty).value<QWidget *>()) : nullptr;
}

QSize CContentView::sizeHint() const
{
    return minimumSizeHint().expandedTo(QSize(640, 440));
}

QSize CContentView::minimumSizeHint() const
{
    return d->container ? QSizeF(d->container->implicitWidth(), d->container->implicitHeight()).toSize()
                        : QSize();
}

void CContentView::resizeEvent(QResizeEvent *event)
{
    d->scene->setGeometry(rect());
    if (d->complaint)
        d->complaint->setGeometry(rect());
    QWidget::resizeEvent(event);
}
