#pragma once

#include "kov_sdk_communication/SdkHandleWrap.h"

#include <QJsonObject>
#include <QString>

#include <atomic>
#include <memory>

/// The service's side of the sample machine's configuration: it lies in a file, and everything takes its
/// time. The results come as jobs.
class MachineService
{
public:
    /// @param fileName  made when the first configuration is saved
    explicit MachineService(const QString &fileName);

    /// A job that brings the configuration as a JSON object.
    t_SdkHandleWrap load() const;
    /// A job that changes these values of the configuration. It refuses a machine without a name and one with
    /// more memory than this computer lends: ConsoleMessages::MachineRefused, with an event that says why.
    t_SdkHandleWrap save(const QJsonObject &changes) const;
    /// An unavailable service ends every job with KOV_ERR_FAILURE.
    void setAvailable(bool available) { *m_available = available; }

private:
    const QString m_fileName;
    const std::shared_ptr<std::atomic_bool> m_available = std::make_shared<std::atomic_bool>(true);
};
