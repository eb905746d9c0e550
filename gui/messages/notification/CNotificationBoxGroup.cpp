#include "gui/messages/notification/CNotificationBoxGroup.h"

#include "gui/messages/notification/CNotificationBox.h"

#include <QApplication>
#include <QEvent>
#include <QHash>
#include <QPointer>
#include <QPropertyAnimation>
#include <QScreen>
#include <QTimer>
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

/// Fades where the platform can, and takes its time anywhere.
class FadeAnimation : public QPropertyAnimation
{
    Q_OBJECT

public:
    using QPropertyAnimation::QPropertyAnimation;

protected:
    void updateCurrentValue(const QVariant &value) override
    {
        static const QStringList platforms{QStringLiteral("xcb"), QStringLiteral("windows"),
                                           QStringLiteral("cocoa")};
        // The others warn at each step.
        if (platforms.contains(QGuiApplication::platformName()))
            QPropertyAnimation::updateCurrentValue(value);
    }
};

void begin(QPropertyAnimation *animation, const QString &name, const QVariant &from, const QVariant &to,
           int milliseconds)
{
    animation->setObjectName(name);
    animation->setStartValue(from);
    animation->setEndValue(to);
    animation->setDuration(milliseconds);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
}

void slide(CNotificationBox &box, const QPoint &rest)
{
    if (CNotificationBoxGroup::isClosing(box)) {
        if (QPropertyAnimation *closing = animationOf(box, closeMoveName()))
            closing->setEndValue(QPoint(closing->endValue().toPoint().x(), rest.y()));
        return;
    }
    // It would be deleted by the new one, and the place that it aimed at with it.
    delete animationOf(box, slideName());
    const QPoint from = box.pos();
    begin(new QPropertyAnimation(&box, "pos", &box), slideName(), from, rest,
          millisecondsPerPixel * qAbs(rest.y() - from.y()));
}

/// A box, and where it rests once nothing moves any more.
struct Place
{
    CNotificationBox *box;
    /// The screen, or the window that the box is a part of. Compared only.
    const QObject *corner;
    QPoint rest;
};

QScreen *screenOf(const CNotificationBox &box)
{
    const QWidget *window = box.parentWidget() ? box.parentWidget()->window() : nullptr;
    if (!window)
        return QGuiApplication::primaryScreen();
    // The window's own idea of its screen is old when screens have changed under it.
    QScreen *screen = QGuiApplication::screenAt(window->geometry().center());
    return screen ? screen : window->screen();
}

const QObject *cornerOf(const CNotificationBox &box)
{
    return box.isWindow() ? static_cast<const QObject *>(screenOf(box)) : box.parentWidget();
}

QRect areaOf(const CNotificationBox &box)
{
    if (!box.isWindow())
        return box.parentWidget()->rect();
    const QScreen *screen = screenOf(box);
    return screen ? screen->availableGeometry() : QRect();
}

/// Where a box slides in from.
int edgeOf(const CNotificationBox &box)
{
    const QScreen *screen = box.isWindow() ? screenOf(box) : nullptr;
    return screen ? screen->geometry().top() : 0;
}

QPoint restOf(const CNotificationBox &box, const QRect &area)
{
    const int x = box.isRightToLeft() ? area.x() + gap : area.x() + area.width() - box.width() - gap;
    return {x, area.y() + gap};
}

CNotificationBoxGroup *theGroup = nullptr;

} // namespace

class CNotificationBoxGroup::Private
{
public:
    explicit Private(CNotificationBoxGroup *group);

    QVector<Place>::iterator find(const CNotificationBox &box)
    {
        return std::find_if(places.begin(), places.end(),
                            [&box](const Place &place) { return place.box == &box; });
    }
    void watch(QScreen *screen);
    void placeAll();
    /// All corners for a null one.
    void move(const QObject *corner, int fromY, int dy);
    void giveKeyboardTo(CNotificationBox &box);
    void giveKeyboardBack();

    CNotificationBoxGroup *const q;
    QTimer *const timer;
    /// In order of arrival.
    QVector<Place> places;
    /// What had the keyboard before a box was given it.
    QPointer<QWidget> before;
};

CNotificationBoxGroup::Private::Private(CNotificationBoxGroup *group)
    : q(group)
    , timer(new QTimer(group))
{
    timer->setObjectName(QStringLiteral("m_timerPlace"));
    timer->setSingleShot(true);
    connect(timer, &QTimer::timeout, q, [this] { placeAll(); });
    const auto screens = QGuiApplication::screens();
    for (QScreen *screen : screens)
        watch(screen);
    connect(qApp, &QGuiApplication::screenAdded, q, [this](QScreen *screen) {
        watch(screen);
        timer->start(0);
    });
    // The toolkit moves the windows of a lost screen after it has told of the loss.
    const auto placeSoon = QOverload<>::of(&QTimer::start);
    timer->setInterval(0);
    connect(qApp, &QGuiApplication::screenRemoved, timer, placeSoon);
    connect(qApp, &QGuiApplication::primaryScreenChanged, timer, placeSoon);
}

void CNotificationBoxGroup::Private::watch(QScreen *screen)
{
    connect(screen, &QScreen::availableGeometryChanged, timer, QOverload<>::of(&QTimer::start));
}

void CNotificationBoxGroup::Private::placeAll()
{
    QHash<const QObject *, int> heights;
    for (auto place = places.rbegin(); place != places.rend(); ++place) {
        CNotificationBox &box = *place->box;
        place->corner = cornerOf(box);
        int &height = heights[place->corner];
        place->rest = restOf(box, areaOf(box)) + QPoint(0, height);
        height += box.height() + gap;
        if (box.pos() != place->rest)
            slide(box, place->rest);
    }
}

void CNotificationBoxGroup::Private::move(const QObject *corner, int fromY, int dy)
{
    for (Place &place : places) {
        if (place.rest.y() <= fromY || (corner && place.corner != corner))
            continue;
        place.rest.ry() += dy;
        slide(*place.box, place.rest);
    }
}

void CNotificationBoxGroup::Private::giveKeyboardTo(CNotificationBox &box)
{
    QWidget *focus = QApplication::focusWidget() ? QApplication::focusWidget() : QApplication::activeWindow();
    const bool isOurs = std::any_of(places.cbegin(), places.cend(), [focus](const Place &place) {
        return place.box == focus || place.box->isAncestorOf(focus);
    });
    if (!isOurs)
        before = focus;
    box.takeKeyboard();
}

void CNotificationBoxGroup::Private::giveKeyboardBack()
{
    if (!before)
        return;
    if (QApplication::activeWindow() != before->window())
        before->activateWindow();
    before->setFocus(Qt::OtherFocusReason);
    before.clear();
}

CNotificationBoxGroup::CNotificationBoxGroup()
    : d(new Private(this))
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
    const QPoint rest = restOf(box, areaOf(box));
    d->move(cornerOf(box), aboveAll, box.height() + gap);
    box.move(rest.x(), edgeOf(box) - box.height());
    slide(box, rest);
    d->places.append({&box, cornerOf(box), rest});
    if (!box.isWindow())
        box.parentWidget()->installEventFilter(this);
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
    auto *hide = new FadeAnimation(&box, "windowOpacity", &box);
    connect(hide, &QAbstractAnimation::finished, &box, &QWidget::close);
    const int way = box.isRightToLeft() ? -box.width() : box.width();
    begin(new QPropertyAnimation(&box, "pos", &box), closeMoveName(), box.pos(), box.pos() + QPoint(way, 0),
          closeMilliseconds);
    begin(hide, closeHideName(), 1.0, 0.0, closeMilliseconds);
}

void CNotificationBoxGroup::messageClosed(CNotificationBox &box)
{
    const auto place = d->find(box);
    if (place == d->places.end())
        return;
    if (box.hasKeyboard())
        d->giveKeyboardBack();
    const Place left = *place;
    d->places.erase(place);
    d->move(left.corner, left.rest.y(), -(box.height() + gap));
}

void CNotificationBoxGroup::moveMessages(int fromY, int dy)
{
    d->move(nullptr, fromY, dy);
}

bool CNotificationBoxGroup::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize)
        d->timer->start();
    return QObject::eventFilter(watched, event);
}

void CNotificationBoxGroup::activateNewest()
{
    for (auto place = d->places.crbegin(); place != d->places.crend(); ++place) {
        if (isClosing(*place->box))
            continue;
        d->giveKeyboardTo(*place->box);
        return;
    }
}

void CNotificationBoxGroup::activateNext()
{
    bool isPassed = false;
    for (auto place = d->places.crbegin(); place != d->places.crend(); ++place) {
        if (isPassed && !isClosing(*place->box)) {
            d->giveKeyboardTo(*place->box);
            return;
        }
        isPassed = isPassed || place->box->hasKeyboard();
    }
    if (isPassed)
        d->giveKeyboardBack();
    else
        activateNewest();
}

#include "CNotificationBoxGroup.moc"
