#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

/**
 * The base of models whose state is shown in a content area: whether the model works on something that its
 * user has to wait for. What shows the model dims or disables what cannot be done meanwhile.
 */
class KOVGUI_EXPORT CContentModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool busy READ isBusy WRITE setBusy NOTIFY busyChanged)

public:
    explicit CContentModel(QObject *parent = nullptr);
    ~CContentModel() override;

    /// Initially false.
    bool isBusy() const;

public Q_SLOTS:
    void setBusy(bool busy);

Q_SIGNALS:
    void busyChanged(bool busy);

private:
    bool m_busy = false;
};
