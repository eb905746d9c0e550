#pragma once

#include "gui/mapping/storage/CMappingValueHandler.h"
#include "gui/messages/record/Messaging.h"

#include <QPointer>
#include <QWidget>

/// Asks before a machine begins to forget what it writes to its disks.
class CarefulHandler : public CMappingValueHandler
{
    Q_OBJECT

public:
    /// @param window  that the question belongs to
    explicit CarefulHandler(QWidget *window);

    bool handleValue(const QString &storage, const QString &path, QVariant value) override;
    QString currentStorage() const override { return m_storage; }
    QString currentPath() const override { return m_path; }
    QVariant currentValue() const override { return m_value; }
    void cleanCurrentData(bool accepted) override;

private:
    Q_INVOKABLE void onAnswered(KOV_RESULT code, Messaging::ButtonID answer);

    const QPointer<QWidget> m_window;
    QString m_storage;
    QString m_path;
    QVariant m_value;
};
