#pragma once

#include "examples/console/wizard/NewMachineModel.h"
#include "gui/wizard/declarative/CDeclarativeWizardPage.h"
#include "gui/wizard/declarative/CDeclarativeWizardProxyPage.h"

#include <QTimer>

// The pages: rules and data. Their faces are scenes (qml/) and, in the dialog of widgets, NewMachineWidgets.

/// Asks for the name, and whether a disk is there already, which decides what comes next.
class SourcePage : public CDeclarativeWizardPage
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(bool fromDisk READ isFromDisk WRITE setFromDisk NOTIFY fromDiskChanged)

public:
    SourcePage(NewMachineModel &model, int id);

    QString name() const { return m_model.machine.name; }
    void setName(const QString &name);
    bool isFromDisk() const { return m_model.machine.fromDisk; }
    void setFromDisk(bool fromDisk);

    bool isComplete() const override { return !name().trimmed().isEmpty(); }
    QUrl pageQml() const override { return QUrl(QStringLiteral("qrc:/console/qml/SourcePage.qml")); }

Q_SIGNALS:
    void nameChanged();
    void fromDiskChanged();

private:
    NewMachineModel &m_model;
};

/// Asks for the system.
class SystemPage : public CDeclarativeWizardPage
{
    Q_OBJECT
    Q_PROPERTY(QStringList systems READ systems CONSTANT)
    Q_PROPERTY(int system READ system WRITE setSystem NOTIFY systemChanged)

public:
    SystemPage(NewMachineModel &model, int id);

    QStringList systems() const { return NewMachineModel::systems(); }
    int system() const { return m_model.machine.system; }
    void setSystem(int system);
    QUrl pageQml() const override { return QUrl(QStringLiteral("qrc:/console/qml/SystemPage.qml")); }

Q_SIGNALS:
    void systemChanged();

private:
    NewMachineModel &m_model;
};

/// Memory and processors: an ordinary widget in both faces.
class HardwarePage : public CDeclarativeWizardProxyPage
{
    Q_OBJECT

public:
    HardwarePage(NewMachineModel &model, int id);
};

/// Writes the disk, which takes a while, and goes on by itself. Deletes it again, which takes a while too,
/// when the wizard goes back.
class DiskPage : public CDeclarativeWizardPage
{
    Q_OBJECT
    Q_PROPERTY(int progress READ progress NOTIFY progressChanged)

public:
    DiskPage(NewMachineModel &model, int id);

    /// 0 to 100.
    int progress() const { return m_progress; }
    bool isComplete() const override { return m_progress == 100; }
    void rollBackPage() override;
    QUrl pageQml() const override { return QUrl(QStringLiteral("qrc:/console/qml/DiskPage.qml")); }

Q_SIGNALS:
    void progressChanged(int progress);

protected:
    void initializePage() override;

private:
    void setProgress(int progress);
    void work();

    NewMachineModel &m_model;
    QTimer m_timer;
    int m_progress = 0;
    bool m_undoing = false;
};

/// Registers the machine, which cannot be taken back.
class RegisterPage : public CDeclarativeWizardPage
{
    Q_OBJECT
    Q_PROPERTY(bool registered READ isRegistered NOTIFY completeChanged)
    Q_PROPERTY(QString note READ note NOTIFY noteChanged)

public:
    RegisterPage(NewMachineModel &model, int id);

    bool isRegistered() const { return m_model.machine.registered; }
    QString note() const { return m_note; }
    Q_INVOKABLE void registerMachine();

    bool isComplete() const override { return isRegistered(); }
    void rollBackPage() override;
    QUrl pageQml() const override { return QUrl(QStringLiteral("qrc:/console/qml/RegisterPage.qml")); }

Q_SIGNALS:
    void noteChanged(const QString &note);

private:
    void setNote(const QString &note);

    NewMachineModel &m_model;
    QString m_note;
};

/// Says what there is now.
class SummaryPage : public CDeclarativeWizardPage
{
    Q_OBJECT
    Q_PROPERTY(QString summary READ summary NOTIFY summaryChanged)

public:
    SummaryPage(NewMachineModel &model, int id);

    QString summary() const;
    QUrl pageQml() const override { return QUrl(QStringLiteral("qrc:/console/qml/SummaryPage.qml")); }

Q_SIGNALS:
    void summaryChanged(const QString &summary);

protected:
    void initializePage() override { Q_EMIT summaryChanged(summary()); }

private:
    NewMachineModel &m_model;
};
