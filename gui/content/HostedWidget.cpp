#include "gui/content/HostedWidget_p.h"

#include "gui/content/CContentView.h"
#include "gui/content/ContentSceneWidget_p.h"

#include <QApplication>
#include <QQuickWindow>
#include <QVBoxLayout>
#include <qqml.h>

/// The widget's place above the scene; hands Tab back to the scene at the widget's ends.
class WidgetFrame : public QWidget
{
public:
    WidgetFrame(CContentView *view, HostedWidget *item, QWidget *hosted)
        : QWidget(view)
        , m_item(item)
    {
        setObjectName(QStringLiteral("hostedWidgetFrame"));
        auto *layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(hosted);
        hosted->show();
        qApp->installEventFilter(this);
    }

    bool focusEnd(bool first)
    {
        QWidget *widget = this;
        QWidget *found = nullptr;
        while ((widget = widget->nextInFocusChain()) != this) {
            if (takesTab(widget)) {
                found = widget;
                if (first)
                    break;
            }
        }
        if (found)
            found->setFocus(first ? Qt::TabFocusReason : Qt::BacktabFocusReason);
        return found;
    }

    /// The widgets above a scene are its view's last ones in the window's order, but not in the scene's:
    /// whoever comes from behind the view begins with the scene.
    bool eventFilter(QObject *object, QEvent *event) override
    {
        if (event->type() == QEvent::FocusOut && object->isWidgetType())
            m_comesFromOutside = !parentWidget()->isAncestorOf(static_cast<QWidget *>(object));
        if (event->type() != QEvent::FocusIn || !m_comesFromOutside || !object->isWidgetType()
            || static_cast<QFocusEvent *>(event)->reason() != Qt::BacktabFocusReason
            || !isAncestorOf(static_cast<QWidget *>(object)))
            return false;
        m_comesFromOutside = false;
        static_cast<CContentView *>(parentWidget())->sceneWidget()->setFocus(Qt::BacktabFocusReason);
        return true;
    }

protected:
    bool focusNextPrevChild(bool next) override
    {
        QWidget *const from = QApplication::focusWidget();
        for (QWidget *widget = from; widget;) {
            widget = next ? widget->nextInFocusChain() : widget->previousInFocusChain();
            if (widget == from || (!isAncestorOf(widget) && widget != this))
                break;
            if (takesTab(widget)) {
                widget->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
                return true;
            }
            if (widget == this && !next)
                break;
        }
        auto *view = static_cast<CContentView *>(parentWidget());
        return m_item && static_cast<ContentSceneWidget *>(view->sceneWidget())->focusFrom(m_item, next);
    }

private:
    bool takesTab(const QWidget *widget) const
    {
        return isAncestorOf(widget) && (widget->focusPolicy() & Qt::TabFocus) && widget->isEnabled()
               && widget->isVisibleTo(this) && !widget->focusProxy();
    }

    const QPointer<HostedWidget> m_item;
    bool m_comesFromOutside = false;
};

HostedWidget::HostedWidget(QQuickItem *parent)
    : QQuickItem(parent)
{
    setActiveFocusOnTab(true);
}

HostedWidget::~HostedWidget()
{
    letGo();
}

QWidget *HostedWidget::widget() const
{
    return m_widget;
}

void HostedWidget::setWidget(QWidget *widget)
{
    if (m_widget == widget)
        return;
    letGo();
    m_widget = widget;
    place();
    Q_EMIT widgetChanged();
}

void HostedWidget::takeFocus(Qt::FocusReason reason)
{
    if (m_frame)
        m_frame->focusEnd(reason != Qt::BacktabFocusReason);
}

void HostedWidget::focusInEvent(QFocusEvent *event)
{
    QQuickItem::focusInEvent(event);
    takeFocus(event->reason());
}

void HostedWidget::itemChange(ItemChange change, const ItemChangeData &data)
{
    QQuickItem::itemChange(change, data);
    if (change == ItemSceneChange) {
        disconnect(m_eachFrame);
        // Nothing tells an item that one of those above it has moved.
        if (data.window)
            m_eachFrame = connect(data.window, &QQuickWindow::afterAnimating, this, &HostedWidget::place);
    }
    if (change == ItemSceneChange || change == ItemVisibleHasChanged || change == ItemEnabledHasChanged)
        place();
}

void HostedWidget::place()
{
    CContentView *const view = CContentView::of(window());
    if (!view || !m_widget) {
        if (m_frame)
            m_frame->hide();
        return;
    }
    if (!m_frame) {
        m_frame = new WidgetFrame(view, this, m_widget);
        const QSize least = m_frame->minimumSizeHint().expandedTo(m_widget->minimumSizeHint());
        setImplicitSize(least.width(), least.height());
    }
    bool shown = isVisible();
    for (const QQuickItem *item = this; item && shown; item = item->parentItem())
        shown = item->opacity() >= 1;
    const QRect place = mapRectToScene(boundingRect()).toRect();
    if (m_frame->geometry() != place)
        m_frame->setGeometry(place);
    if (m_frame->isEnabled() != isEnabled())
        m_frame->setEnabled(isEnabled());
    if (m_frame->isVisibleTo(view) == shown)
        return;
    m_frame->setVisible(shown);
    m_frame->raise();
    if (shown && hasActiveFocus())
        m_frame->focusEnd(true);
}

void HostedWidget::letGo()
{
    if (!m_frame)
        return;
    if (m_widget && m_widget->parentWidget() == m_frame) {
        m_widget->hide();
        m_widget->setParent(nullptr);
    }
    // The item goes while the scene is being drawn or while the view is deleted.
    m_frame->hide();
    m_frame->deleteLater();
    m_frame.clear();
}

void registerHostedWidget()
{
    static const int type = qmlRegisterType<HostedWidget>("com.tessarine.content", 1, 0, "HostedWidget");
    static const int widget = qRegisterMetaType<QWidget *>("QWidget *");
    Q_UNUSED(type)
    Q_UNUSED(widget)
}
