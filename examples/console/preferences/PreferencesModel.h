#pragma once

#include "examples/console/preferences/MachineService.h"
#include "gui/mapping/storage/CMappingModel.h"

#include <QPointer>

class CSdkRequest;

/// The console's settings, and the configuration of its machine as the storage "Machine": machines[1].name
/// and so on.
class PreferencesModel : public CMappingModel
{
    Q_OBJECT

public:
    explicit PreferencesModel(QObject *parent = nullptr);

    MachineService &service() { return m_service; }
    /// Has the machine's configuration read; its values come later.
    void load();
    /// The event that explains the last refusal, null when there is none.
    t_SdkHandleWrap refusal() const { return m_refusal; }

    QVariant getValue(const QString &storage, const QString &path) const override;
    void setValue(const QString &storage, const QString &path, const QVariant &value) override;

Q_SIGNALS:
    void loaded(int result);

protected:
    void submitStorage(const QString &storage) override;
    QStringList getAllStorages() const override;
    QVariant getDefaultValue(const QString &storage, const QString &path) const override;

private:
    MachineService m_service;
    QPointer<CSdkRequest> m_loading;
    t_SdkHandleWrap m_refusal;
};
