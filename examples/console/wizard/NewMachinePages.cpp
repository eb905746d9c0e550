#include "examples/console/wizard/NewMachinePages.h"

#include "examples/console/wizard/NewMachineWidgets.h"

#include <QFile>

namespace {

constexpr int stepMsecs = 60;
constexpr int stepPercent = 4;
constexpr qint64 bytesPerPercent = 64 * 1024;

} // namespace

SourcePage::SourcePage(NewMachineModel &model, int id)
    : CDeclarativeWizardPage(model, id)
    , m_model(model)
{
    setTitle(tr("New virtual machine"));
}

void SourcePage::setName(const QString &name)
{
    if (name == m_model.machine.name)
        return;
    m_model.machine.name = name;
    Q_EMIT nameChanged();
    Q_EMIT completeChanged();
}

void SourcePage::setFromDisk(bool fromDisk)
{
    if (fromDisk == isFromDisk())
        return;
    m_model.machine.fromDisk = fromDisk;
    Q_EMIT fromDiskChanged();
}

SystemPage::SystemPage(NewMachineModel &model, int id)
    : CDeclarativeWizardPage(model, id)
    , m_model(model)
{
    setTitle(tr("Which system will run in it?"));
}

void SystemPage::setSystem(int system)
{
    if (system == m_model.machine.system)
        return;
    m_model.machine.system = system;
    Q_EMIT systemChanged();
}

HardwarePage::HardwarePage(NewMachineModel &model, int id)
    : CDeclarativeWizardProxyPage(model, id)
{
    setTitle(tr("Hardware"));
    setSourcePage(makeHardwareWidget(model));
}

DiskPage::DiskPage(NewMachineModel &model, int id)
    : CDeclarativeWizardPage(model, id)
    , m_model(model)
{
    setTitle(tr("The disk is being written"));
    m_timer.setObjectName(QStringLiteral("diskTimer"));
    m_timer.setInterval(stepMsecs);
    connect(&m_timer, &QTimer::timeout, this, &DiskPage::work);
}

void DiskPage::initializePage()
{
    if (isComplete())
        return;
    m_undoing = false;
    m_model.setBusy(true);
    m_timer.start();
}

void DiskPage::rollBackPage()
{
    m_undoing = true;
    m_model.setBusy(true);
    m_timer.start();
}

void DiskPage::work()
{
    setProgress(qBound(0, m_progress + (m_undoing ? -stepPercent : stepPercent), 100));
    QFile disk(m_model.diskPath());
    if (!disk.open(QIODevice::ReadWrite) || !disk.resize(m_progress * bytesPerPercent))
        setTitle(tr("The disk cannot be written: %1").arg(disk.errorString()));
    if (m_progress != (m_undoing ? 0 : 100))
        return;
    m_timer.stop();
    m_model.setBusy(false);
    Q_EMIT completeChanged();
    if (m_undoing) {
        disk.remove();
        Q_EMIT pageRolledBack(true);
    } else {
        setTitle(tr("The disk is written"));
        Q_EMIT pageFinished();
    }
}

void DiskPage::setProgress(int progress)
{
    m_progress = progress;
    Q_EMIT progressChanged(progress);
}

RegisterPage::RegisterPage(NewMachineModel &model, int id)
    : CDeclarativeWizardPage(model, id)
    , m_model(model)
    , m_note(tr("Not registered yet."))
{
    setTitle(tr("Register the machine"));
}

void RegisterPage::registerMachine()
{
    m_model.machine.registered = true;
    setNote(tr("Registered."));
    Q_EMIT completeChanged();
}

void RegisterPage::rollBackPage()
{
    if (isRegistered())
        setNote(tr("A registered machine cannot be taken back."));
    Q_EMIT pageRolledBack(!isRegistered());
}

void RegisterPage::setNote(const QString &note)
{
    m_note = note;
    Q_EMIT noteChanged(note);
}

SummaryPage::SummaryPage(NewMachineModel &model, int id)
    : CDeclarativeWizardPage(model, id)
    , m_model(model)
{
    setTitle(tr("The machine is ready"));
}

QString SummaryPage::summary() const
{
    const NewMachine &machine = m_model.machine;
    const QString system
        = machine.fromDisk ? tr("the system on its disk") : NewMachineModel::systems().value(machine.system);
    return tr("%1 runs %2 with %3 MB of memory and %4 processors.")
        .arg(machine.name, system)
        .arg(machine.memory)
        .arg(machine.processors);
}
