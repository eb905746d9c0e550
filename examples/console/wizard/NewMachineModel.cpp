#include "examples/console/wizard/NewMachineModel.h"

#include "examples/console/wizard/NewMachinePages.h"
#include "gui/wizard/model/CAbstractWizardPageFactory.h"
#include "gui/wizard/model/CAbstractWizardPageFlow.h"

namespace {

class Flow : public CAbstractWizardPageFlow
{
protected:
    int getNextPageId(int pageId) const override
    {
        const bool fromDisk = static_cast<NewMachineModel *>(wizardModel())->machine.fromDisk;
        switch (pageId) {
        case -1:
            return NewMachineModel::SourcePageId;
        case NewMachineModel::SourcePageId:
            return fromDisk ? NewMachineModel::HardwarePageId : NewMachineModel::SystemPageId;
        case NewMachineModel::HardwarePageId:
            return fromDisk ? NewMachineModel::RegisterPageId : NewMachineModel::DiskPageId;
        case NewMachineModel::SummaryPageId:
            return -1;
        default:
            return pageId + 1;
        }
    }
};

class Factory : public CAbstractWizardPageFactory
{
public:
    CAbstractWizardPage *createPage(int pageId, CAbstractWizardModel &wizard) override
    {
        auto &model = static_cast<NewMachineModel &>(wizard);
        switch (pageId) {
        case NewMachineModel::SourcePageId:
            return new SourcePage(model, pageId);
        case NewMachineModel::SystemPageId:
            return new SystemPage(model, pageId);
        case NewMachineModel::HardwarePageId:
            return new HardwarePage(model, pageId);
        case NewMachineModel::DiskPageId:
            return new DiskPage(model, pageId);
        case NewMachineModel::RegisterPageId:
            return new RegisterPage(model, pageId);
        case NewMachineModel::SummaryPageId:
            return new SummaryPage(model, pageId);
        default:
            return nullptr;
        }
    }
};

} // namespace

NewMachineModel::NewMachineModel(QObject *parent)
    : CAbstractWizardModel(parent)
{
    setPageFactory(*new Factory);
    setPageFlow(*new Flow);
}

NewMachineModel::~NewMachineModel() = default;

QStringList NewMachineModel::systems()
{
    return {QStringLiteral("Debian 12"), QStringLiteral("Fedora 40"), QStringLiteral("Windows 11")};
}

QString NewMachineModel::diskPath() const
{
    return m_folder.filePath(QStringLiteral("machine.hdd"));
}
