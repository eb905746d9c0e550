#include "gui/content/CContentArea.h"

#include "gui/content/CContentInfo.h"
#include "gui/content/CContentWatcher.h"
#include "gui/content/ContentScene_p.h"

#include <QApplication>
#include <QParallelAnimationGroup>
#include <QPointer>
#include <QPropertyAnimation>
#include <QQmlContext>
#include <QQuickItem>
#include <QStyle>
#include <QWidget>

namespace {

void animate(QAnimationGroup *group, QQuickItem *item, const char *property, qreal from, qreal to)
{
    auto *animation = new QPropertyAnimation(item, property, group);
    animation->setDuration(QApplication::style()->styleHint(QStyle::SH_Widget_Animation_Duration));
    animation->setEasingCurve(QEasingCurve::OutCubic);
    animation->setStartValue(from);
    animation->setEndValue(to);
}

} // namespace

class CContentArea::Private
{
public:
    void forget();
    void show(CContentArea *q, QQuickItem *item, GUI::ContentAnimationType animation);
    void endAnimation();
    void fit() const;

    QPointer<QQuickItem> container;
    QPointer<QQuickItem> current{};
    QPointer<QQuickItem> leaving{};
    QPointer<CContentInfo> info{};
    QPointer<CContentWatcher> watcher{};
    QPointer<QParallelAnimationGroup> animation{};
    QPointer<QWidget> window{};
};

/// What is shown becomes what leaves.
void CContentArea::Private::forget()
{
    endAnimation();
    delete watcher;
    leaving = current;
    current.clear();
    if (leaving)
        leaving->setEnabled(false);
    // The scene that leaves may still look at its description.
    if (info && leaving)
        info->setParent(leaving);
    else
        delete info;
    info.clear();
}

void CContentArea::Private::endAnimation()
{
    delete animation;
    if (leaving) {
        leaving->setVisible(false);
        // Its bindings may look at what goes before it does.
        delete leaving->findChild<QQmlContext *>(QString(), Qt::FindDirectChildrenOnly);
        leaving->deleteLater();
    }
    leaving.clear();
    if (current) {
        current->setX(0);
        current->setOpacity(1);
    }
}

void CContentArea::Private::fit() const
{
    if (!container || !current)
        return;
    current->setSize(container->size());
    container->setImplicitWidth(current->implicitWidth());
    container->setImplicitHeight(current->implicitHeight());
}

void CContentArea::Private::show(CContentArea *q, QQuickItem *item, GUI::ContentAnimationType type)
{
    current = item;
    fit();
    QObject::connect(item, &QQuickItem::implicitWidthChanged, q, [this] { fit(); });
    QObject::connect(item, &QQuickItem::implicitHeightChanged, q, [this] { fit(); });
    const auto arrive = [this] {
        endAnimation();
        if (watcher)
            Q_EMIT watcher->contentReady();
    };
    if (type == GUI::ContentAnimationNone
        || QApplication::style()->styleHint(QStyle::SH_Widget_Animation_Duration) == 0) {
        QMetaObject::invokeMethod(watcher, arrive, Qt::QueuedConnection);
        return;
    }

    const bool fromTheRight = (type == GUI::ContentAnimationForward) == QGuiApplication::isLeftToRight();
    const qreal way = container->width() / (fromTheRight ? 6 : -6);
    animation = new QParallelAnimationGroup(q);
    animate(animation, item, "x", way, 0);
    animate(animation, item, "opacity", 0, 1);
    if (leaving) {
        animate(animation, leaving, "x", 0, -way);
        animate(animation, leaving, "opacity", 1, 0);
    }
    QObject::connect(animation, &QAbstractAnimation::finished, watcher, arrive, Qt::QueuedConnection);
    animation->start();
}

CContentArea::CContentArea(QQuickItem *container, QObject *parent)
    : QObject(parent)
    , d(new Private{container})
{
    if (!container)
        return;
    connect(container, &QQuickItem::widthChanged, this, [this] { d->fit(); });
    connect(container, &QQuickItem::heightChanged, this, [this] { d->fit(); });
}

CContentArea::~CContentArea()
{
    d->forget();
    d->endAnimation();
}

CContentWatcher *CContentArea::setContent(CContentInfo *info, GUI::ContentAnimationType animation)
{
    d->forget();
    auto *const watcher = new CContentWatcher(this);
    d->watcher = watcher;
    d->info = info;
    if (info)
        info->setParent(this);
    if (!info || !d->container) {
        d->endAnimation();
        return watcher;
    }

    auto *const scene = new ContentScene(*info, d->container, watcher);
    connect(scene, &ContentScene::loaded, watcher,
            [this, watcher, animation](QQuickItem *item, bool isError) {
                d->show(this, item, animation);
                QMetaObject::invokeMethod(
                    watcher,
                    [watcher, isError, item = QPointer<QQuickItem>(item)] {
                        if (isError)
                            Q_EMIT watcher->contentFailed();
                        else if (item)
                            Q_EMIT watcher->contentLoaded(item);
                    },
                    Qt::QueuedConnection);
            });
    scene->load();
    return watcher;
}

QQuickItem *CContentArea::contentItem() const
{
    return d->current;
}

QWidget *CContentArea::window() const
{
    return d->window;
}

void CContentArea::setWindow(QWidget *window)
{
    d->window = window;
}
