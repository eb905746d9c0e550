#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>
#include <QVariant>

/**
 * Stands between a changed value and the model: takes single values over, typically to ask the user, and says
 * later whether they are accepted.
 *
 *     bool handleValue(storage, path, value) override
 *     {
 *         if (path != "disk.discard" || !value.toBool())
 *             return false;
 *         remember storage, path and value; show the question
 *         return true;      // the question's end calls onSuccessMessageClosed() or onRejectedMessageClosed()
 *     }
 *
 * A handler holds one value at a time: the next one is offered after the answer. The answer may come before
 * handleValue() returns. Without an answer the value, and those behind it, wait for ever; a handler that is
 * deleted or replaced has rejected the value that it held.
 */
class KOVGUI_EXPORT CMappingValueHandler : public QObject
{
    Q_OBJECT

public:
    explicit CMappingValueHandler(QObject *parent = nullptr);

    /// @return  true when the handler takes the value over; false lets it pass
    virtual bool handleValue(const QString &storage, const QString &path, QVariant value);
    /// The value that is held. An answer counts only for the storage and path that were offered.
    virtual QString currentStorage() const;
    virtual QString currentPath() const;
    /// It may be another value than the one that was offered: what is accepted is this one.
    virtual QVariant currentValue() const;
    /// The answer is known; forget the value. Called before the answer is told.
    virtual void cleanCurrentData(bool accepted);

Q_SIGNALS:
    /// For the handler's own use: a value needs attention.
    void criticalValueChanged(const QString &storage, const QString &path, QVariant value);
    void handleValueFinished(bool accepted, const QString &storage, const QString &path, QVariant value);

protected:
    /// The answer for the value that is held.
    void handleValueFinished(bool accepted);

protected Q_SLOTS:
    /// Standard endings: a message's close signal can be connected to them.
    void onRejectedMessageClosed();
    void onSuccessMessageClosed();
};
