#pragma once

#include "gui/content/CContentInfo.h"

class QWidget;

/// Content that is an ordinary widget. Its scene has a HostedWidget (import com.tessarine.content 1.0) that
/// shows it; by default it has nothing else.
class KOVGUI_DECLARATIVE_EXPORT CWidgetContentInfo : public CContentInfo
{
    Q_OBJECT
    Q_PROPERTY(QWidget *widget READ widget CONSTANT)

public:
    /// The widget stays its owner's.
    explicit CWidgetContentInfo(QWidget *widget, CContentProvider *provider = nullptr,
                                const QMap<QString, QVariant> &params = {}, QObject *parent = nullptr);
    ~CWidgetContentInfo() override;

    QUrl scene() const override;
    /// Null once it is gone.
    QWidget *widget() const;

private:
    const QPointer<QWidget> m_widget;
};
