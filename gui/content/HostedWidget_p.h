#pragma once

#include <QPointer>
#include <QQuickItem>
#include <QWidget>

class WidgetFrame;

/**
 * An item that shows an ordinary widget at its place: laid over the scene, because a widget inside of it
 * would pass clicks on to what is below, and would open its pop-ups inside.
 *
 * In QML: import com.tessarine.content 1.0. The widget is shown while the item is and has stopped fading.
 */
class HostedWidget : public QQuickItem
{
    Q_OBJECT
    Q_PROPERTY(QWidget *widget READ widget WRITE setWidget NOTIFY widgetChanged)

public:
    explicit HostedWidget(QQuickItem *parent = nullptr);
    ~HostedWidget() override;

    QWidget *widget() const;
    /// Not owned: the widget is let go with the item, hidden and without a parent.
    void setWidget(QWidget *widget);
    /// Gives the keyboard to the widget: to what is last in it for a Backtab, else to what is first.
    void takeFocus(Qt::FocusReason reason);

Q_SIGNALS:
    void widgetChanged();

protected:
    void focusInEvent(QFocusEvent *event) override;
    void itemChange(ItemChange change, const ItemChangeData &data) override;

private:
    void place();
    void letGo();

    QPointer<QWidget> m_widget;
    QPointer<WidgetFrame> m_frame;
    QMetaObject::Connection m_eachFrame;
};

/// Makes the type known to QML; once.
void registerHostedWidget();
