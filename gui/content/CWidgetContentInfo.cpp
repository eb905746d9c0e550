#include "gui/content/CWidgetContentInfo.h"

#include <QWidget>

CWidgetContentInfo::CWidgetContentInfo(QWidget *widget, CContentProvider *provider,
                                       const QMap<QString, QVariant> &params, QObject *parent)
    : CContentInfo(provider, params, parent)
    , m_widget(widget)
{ }

CWidgetContentInfo::~CWidgetContentInfo() = default;

QUrl CWidgetContentInfo::scene() const
{
    return QUrl(QStringLiteral("qrc:/qml/ContentWidget.qml"));
}

QWidget *CWidgetContentInfo::widget() const
{
    return m_widget;
}
