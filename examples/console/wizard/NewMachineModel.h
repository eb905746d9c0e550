#pragma once

#include "gui/wizard/model/CAbstractWizardModel.h"

#include <QStringList>
#include <QTemporaryDir>

/// What the wizard asks for.
struct NewMachine
{
    QString name;
    bool fromDisk = false;
    int system = 0;
    int memory = 2048;
    int processors = 2;
    bool registered = false;
};

/// The wizard "New virtual machine", without a face.
class NewMachineModel : public CAbstractWizardModel
{
    Q_OBJECT

public:
    enum PageId { SourcePageId = 1, SystemPageId, HardwarePageId, DiskPageId, RegisterPageId, SummaryPageId };

    explicit NewMachineModel(QObject *parent = nullptr);
    ~NewMachineModel() override;

    NewMachine machine;
    static QStringList systems();
    /// Where the disk is written.
    QString diskPath() const;

private:
    QTemporaryDir m_folder;
};
