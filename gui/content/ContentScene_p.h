#pragma once

#include <QObject>
#include <QPointer>

class CContentInfo;
class QQmlComponent;
class QQuickItem;

/// Makes the scene of a content description. What goes wrong is logged and gives an error page.
class ContentScene : public QObject
{
    Q_OBJECT

public:
    /// @param container  the item that the scene becomes a child of
    ContentScene(CContentInfo &info, QQuickItem *container, QObject *parent);
    ~ContentScene() override;

    /// A local scene is there when the call returns.
    void load();

Q_SIGNALS:
    void loaded(QQuickItem *item, bool isErrorPage);

private:
    QQuickItem *make(QQmlComponent &component);
    void showErrorPage(const QString &errors);

    const QPointer<CContentInfo> m_info;
    const QPointer<QQuickItem> m_container;
};
