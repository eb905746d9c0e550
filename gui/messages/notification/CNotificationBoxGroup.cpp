#include "gui/messages/notification/CNotificationBoxGroup.h"

#include "gui/messages/notification/CNotificationBox.h"

#include <QGuiApplication>
#include <QPropertyAnimation>
#include <QScreen>
#include <QVector>

#include <algorithm>

namespace {

constexpr int gap = 6;
/// Above any place on a screen.
constexpr int aboveAll = -QWIDGETSIZE_MAX;
constexpr int millisecondsPerPixel = 2;
constexpr int closeMilliseconds = 150;

QString slideName()
{
    return QStringLiteral("NOTIFICATIONBOX_ANIMATION");
}

QString closeHideName()
{
    return QStringLiteral("ANIMATION_CLOSE_HIDE");
}

QString closeMoveName()
{
    return QStringLiteral("ANIMATION_CLOSE_MOVE");
}

QPropertyAnimation *animationOf(const CNotificationBox &box, const QString &name)
{
    return box.findChild<QPropertyAnimation *>(name, Qt::FindDirectChildrenOnly);
}

QPropertyAnimation *makeAnimation(CNotificationBox &box, const QString &name, const char *property,
                                  const QVariant &from, const QVariant &to, int milliseconds)
{
    auto *animation = new QPropertyAnimation(&box, property, &box);
    animation->setObjectName(name);
    animation->setStartValue(from);
    animation->setEndValue(to);
    animation->setDuration(milliseconds);
    return animation;
}

/// A box, and where it rests once nothing moves any more.
struct Place
{
    CNotificationBox *box;
    QPoint rest;
};

void slide(const Place &place)
{
    if (CNotificationBoxGroup::isClosing(*place.box)) {
        if (QPropertyAnimation *closing = animationOf(*place.box, closeMoveName()))
            closing->setEndValue(QPoint(closing->endValue().toPoint().x(), place.rest.y()));
        return;
    }
    delete animationOf(*place.box, slideName());
    const QPoint from = place.box->pos();
    makeAnimation(*place.box, slideName(), "pos", from, place.rest,
                  millisecondsPerPixel * qAbs(place.rest.y() - from.y()))
        ->start(QAbstractAnimation::DeleteWhenStopped);
}

CNotificationBoxGroup *theGroup = nullptr;

} // namespace

class CNotificationBoxGroup::Private
{
public:
    QVector<Place>::iterator find(const CNotificationBox &box)
    {
        return std::find_if(places.begin(), places.end(),
                            [&box](const Place &place) { return place.box == &box; });
    }

    /// In order of arrival.
    QVector<Place> places;
};

CNotificationBoxGroup::CNotificationBoxGroup()
    : d(new Private)
{ }

CNotificationBoxGroup::~CNotificationBoxGroup() = default;

CNotificationBoxGroup &CNotificationBoxGroup::instance()
{
    if (!theGroup)
        theGroup = new CNotificationBoxGroup;
    return *theGroup;
}

void CNotificationBoxGroup::destroy()
{
    delete theGroup;
    theGroup = nullptr;
}

void CNotificationBoxGroup::addMessage(CNotificationBox &box)
{
    if (d->find(box) != d->places.end())
        return;
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    const QPoint rest(area.x() + area.width() - box.width() - gap, area.y() + gap);
    moveMessages(aboveAll, box.height() + gap);
    const QPoint start(rest.x(), -box.height());
    box.move(start);
    makeAnimation(box, slideName(), "pos", start, rest, millisecondsPerPixel * qAbs(box.height() + rest.y()))
        ->start(QAbstractAnimation::DeleteWhenStopped);
    d->places.append({&box, rest});
}

bool CNotificationBoxGroup::isClosing(const CNotificationBox &box)
{
    return animationOf(box, closeHideName());
}

void CNotificationBoxGroup::closeMessage(CNotificationBox &box)
{
    if (isClosing(box))
        return;
    delete animationOf(box, slideName());
    auto *hide = makeAnimation(box, closeHideName(), "windowOpacity", 1.0, 0.0, closeMilliseconds);
    auto *move = makeAnimation(box, closeMoveName(), "pos", box.pos(), box.pos() + QPoint(box.width(), 0),
                               closeMilliseconds);
    connect(hide, &QAbstractAnimation::finished, &box, &QWidget::close);
    move->start(QAbstractAnimation::DeleteWhenStopped);
    hide->start(QAbstractAnimation::DeleteWhenStopped);
}

void CNotificationBoxGroup::messageClosed(CNotificationBox &box)
{
    const auto place = d->find(box);
    if (place == d->places.end())
        return;
    const int restY = place->rest.y();
    d->places.erase(place);
    moveMessages(restY, -(box.height() + gap));
}

void CNotificationBoxGroup::moveMessages(int fromY, int dy)
{
    for (Place &place : d->places) {
        if (place.rest.y() <= fromY)
            continue;
        place.rest.ry() += dy;
        slide(place);
    }
}

void CNotificationBoxGroup::activateNewest()
{
    for (auto place = d->places.crbegin(); place != d->places.crend(); ++place) {
        if (isClosing(*place->box))
            continue;
        place->box->activateWindow();
        return;
    }
}
