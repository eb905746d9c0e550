#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>
#include <QVariant>

class QWidget;

/// Prepares a widget before its values arrive: fills a list of choices, sets a range. Does nothing by itself.
class KOVGUI_EXPORT CWidgetIniter : public QObject
{
    Q_OBJECT

public:
    explicit CWidgetIniter(QObject *parent = nullptr);

    /// Called when the widget is mapped, and before it is filled again because all values may have changed.
    /// The widget's signals are blocked meanwhile.
    /// @param value  invalid when the mapper calls
    virtual void initWidget(QWidget *widget, const QVariant &value);
};
