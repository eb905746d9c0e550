#include "examples/console/pages/UpdatesPage.h"

#include "abstract_task/CTaskManager.h"
#include "examples/console/sample/ConsoleUpdateTasks.h"
#include "gui/KovGui.h"
#include "gui/frame/Clock.h"
#include "gui/tasks/TaskIds.h"
#include "gui/tasks/progress/FormatUtils.h"
#include "gui/update/CAppUpdateLogic.h"
#include "gui/update/CAppUpdateWorker.h"
#include "gui/update/record/CProductUpdateInfo.h"
#include "gui/update/record/CustomUpdateServerInfo.h"
#include "gui/update/record/UpdatePreferences.h"
#include "gui/update/record/UpgradeUtils.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStandardPaths>
#include <QTimer>
#include <QVBoxLayout>

namespace {

QString resultText(KOV_RESULT result)
{
    return result < 0 ? QStringLiteral("0x%1").arg(uint(result), 8, 16, QLatin1Char('0'))
                      : QString::number(result);
}

void fireTimer(const char *name)
{
    auto *timer = CAppUpdateLogic::instance()->worker()->findChild<QTimer *>(QLatin1String(name));
    if (timer && timer->isActive())
        QMetaObject::invokeMethod(timer, "timeout");
}

} // namespace

UpdatesPage::UpdatesPage(QWidget *parent)
    : ConsolePage(tr("Product Update"), parent)
    , m_site(new SampleSite(this))
{
    auto *layout = new QVBoxLayout(area());
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget *part : {createSiteBox(), createCheckRow(), createScheduleBox(), createPendingBox()})
        layout->addWidget(part);

    setUpdater(RealUpdater);
    setCatalogue(SampleSite::Catalogue::UpdateAvailable);
    if (!m_site->start())
        report(m_site->errorText());
    showSiteState();
    UpgradeUtils::setUpdateServerBase(m_site->baseUrl().toString());

    CAppUpdateLogic *logic = CAppUpdateLogic::instance();
    connect(logic, &CAppUpdateLogic::updateCheckFinished, this, &UpdatesPage::onCheckFinished);
    connect(logic, &CAppUpdateLogic::updateInstallFinished, this, &UpdatesPage::onInstallFinished);
    showPending();
    showSchedule();
}

UpdatesPage::~UpdatesPage()
{
    m_site->disconnect(this);
    Clock::set({});
}

void UpdatesPage::addButton(QHBoxLayout *row, const QString &text, const char *name,
                            void (UpdatesPage::*slot)())
{
    auto *button = new QPushButton(text, area());
    button->setObjectName(QLatin1String(name));
    connect(button, &QPushButton::clicked, this, slot);
    row->addWidget(button);
}

void UpdatesPage::addChoice(QHBoxLayout *row, const QString &text, const char *name, void (*slot)(bool))
{
    auto *choice = new QCheckBox(text, area());
    choice->setObjectName(QLatin1String(name));
    connect(choice, &QCheckBox::toggled, this, slot);
    row->addWidget(choice);
}

QWidget *UpdatesPage::createSiteBox()
{
    auto *box = new QGroupBox(tr("Sample update site"), area());
    m_siteState = new QLabel(box);
    m_siteState->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_siteButton = new QPushButton(box);
    m_siteButton->setObjectName(QStringLiteral("toggleSite"));
    m_catalogue = new QComboBox(box);
    m_catalogue->setObjectName(QStringLiteral("catalogue"));
    m_catalogue->addItems({tr("holds a newer version"), tr("holds this version"),
                           tr("was altered on its way"), tr("arrives slowly"), tr("is one of long ago")});
    auto *label = new QLabel(tr("Its &catalogue"), box);
    label->setBuddy(m_catalogue);
    auto *row = new QHBoxLayout(box);
    row->addWidget(m_siteState, 1);
    row->addWidget(label);
    row->addWidget(m_catalogue);
    row->addWidget(m_siteButton);
    auto *server = new QLineEdit(CustomUpdateServerInfo::url(), box);
    server->setObjectName(QStringLiteral("customServer"));
    server->setPlaceholderText(tr("another catalogue's address"));
    server->setAccessibleName(tr("Address of another catalogue"));
    server->setClearButtonEnabled(true);
    row->addWidget(server);
    connect(server, &QLineEdit::editingFinished, this, [this, server] {
        if (!CustomUpdateServerInfo::setUrl(server->text()))
            report(tr("%1 is no address of a catalogue.").arg(server->text()));
    });

    connect(m_siteButton, &QPushButton::clicked, this, [this] {
        if (m_site->isRunning())
            m_site->stop();
        else if (!m_site->start())
            report(m_site->errorText());
    });
    connect(m_site, &SampleSite::runningChanged, this, &UpdatesPage::showSiteState);
    connect(m_catalogue, QOverload<int>::of(&QComboBox::activated), this,
            [this](int index) { setCatalogue(SampleSite::Catalogue(index)); });
    return box;
}

QWidget *UpdatesPage::createCheckRow()
{
    auto *widget = new QWidget(area());
    m_updater = new QComboBox(widget);
    m_updater->setObjectName(QStringLiteral("updater"));
    m_updater->addItems({tr("the updater"), tr("a missing program"), tr("a program that crashes")});
    auto *label = new QLabel(tr("&Run"), widget);
    label->setBuddy(m_updater);
    auto *row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(label);
    row->addWidget(m_updater);
    addButton(row, tr("Check &Now"), "checkNow", &UpdatesPage::checkNow);
    addButton(row, tr("Check in &Background"), "checkInBackground", &UpdatesPage::checkInBackground);
    addChoice(row, tr("Finds a &major upgrade"), "majorUpgrade", &ConsoleUpdateCheck::setFindsMajorUpgrades);
    addChoice(row, tr("An &editor is open"), "editorOpen", &ConsoleInstallation::setEditorOpen);
    row->addStretch();
    connect(m_updater, QOverload<int>::of(&QComboBox::activated), this,
            [this](int index) { setUpdater(Updater(index)); });
    return widget;
}

QWidget *UpdatesPage::createScheduleBox()
{
    auto *box = new QGroupBox(tr("Schedule"), area());
    m_period = new QComboBox(box);
    m_period->setObjectName(QStringLiteral("period"));
    m_period->addItems({tr("never"), tr("every day"), tr("every week"), tr("every month")});
    auto *label = new QLabel(tr("Look for &updates"), box);
    label->setBuddy(m_period);
    m_automatic = new QCheckBox(tr("D&ownload by itself"), box);
    m_automatic->setObjectName(QStringLiteral("automatic"));
    m_lastChecked = new QLabel(box);
    auto *row = new QHBoxLayout(box);
    row->addWidget(label);
    row->addWidget(m_period);
    row->addWidget(m_automatic);
    row->addWidget(m_lastChecked, 1);
    addButton(row, tr("Let a &Day Pass"), "letADayPass", &UpdatesPage::letADayPass);
    connect(m_period, QOverload<int>::of(&QComboBox::activated), this,
            [](int index) { UpdatePreferences::setCheckPeriod(UpdatePreferences::CheckPeriod(index)); });
    connect(m_automatic, &QCheckBox::clicked, this, &UpdatePreferences::setDownloadAutomatic);
    return box;
}

QWidget *UpdatesPage::createPendingBox()
{
    auto *box = new QGroupBox(tr("Pending update"), area());
    m_pending = new QLabel(box);
    m_pending->setObjectName(QStringLiteral("pending"));
    m_pending->setTextFormat(Qt::PlainText);
    m_pending->setWordWrap(true);
    m_pending->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    auto *buttons = new QHBoxLayout;
    addButton(buttons, tr("&Install It"), "installPending", &UpdatesPage::installPending);
    addButton(buttons, tr("Let &Ten Minutes Pass"), "letTenMinutesPass", &UpdatesPage::letTenMinutesPass);
    m_skipped = new QComboBox(box);
    m_skipped->setObjectName(QStringLiteral("skipped"));
    m_skipped->setMinimumContentsLength(12);
    auto *label = new QLabel(tr("S&kipped"), box);
    label->setBuddy(m_skipped);
    buttons->addWidget(label);
    buttons->addWidget(m_skipped);
    addButton(buttons, tr("&Offer It Again"), "offerSkipped", &UpdatesPage::offerSkippedAgain);
    addButton(buttons, tr("R&estart the Console"), "restartConsole", &UpdatesPage::restartConsole);
    buttons->addStretch();
    auto *layout = new QVBoxLayout(box);
    layout->addWidget(m_pending);
    layout->addLayout(buttons);
    return box;
}

void UpdatesPage::setCatalogue(SampleSite::Catalogue catalogue)
{
    m_catalogue->setCurrentIndex(int(catalogue));
    if (!m_site->setCatalogue(catalogue))
        report(m_site->errorText());
}

void UpdatesPage::setUpdater(Updater updater)
{
    m_updater->setCurrentIndex(updater);
    static const char *const programs[] = {"updater", "no-such-updater", "crashing_updater"};
    const QString folder = QCoreApplication::applicationDirPath();
    const QString name = QLatin1String(programs[updater]);
    const QString found = QStandardPaths::findExecutable(name, {folder});
    KovGui::setUpdaterFilePathAndUpdateMode(found.isEmpty() ? folder + QLatin1Char('/') + name : found,
                                            QStringLiteral("console"), QStringLiteral("ctl"));
}

bool UpdatesPage::isChecking() const
{
    return CTaskManager::instance()->getTaskById(CTaskId_CheckForProductUpdate());
}

bool UpdatesPage::isInstalling() const
{
    return CTaskManager::instance()->getTaskById(CTaskId_InstallProductUpdate());
}

QString UpdatesPage::pendingText() const
{
    return m_pending->text();
}

void UpdatesPage::checkNow()
{
    check(false);
}

void UpdatesPage::checkInBackground()
{
    check(true);
}

void UpdatesPage::check(bool inBackground)
{
    report(inBackground ? tr("Checking in the background…") : tr("Checking…"));
    CAppUpdateLogic::instance()->checkForUpdates(inBackground, false, false);
}

void UpdatesPage::letADayPass()
{
    ++m_daysPassed;
    Clock::set([days = m_daysPassed] { return QDateTime::currentDateTime().addDays(days); });
    report(tr("It is %1 now.").arg(locale().toString(Clock::now(), QLocale::ShortFormat)));
    // Five minutes after the start, later once an hour.
    fireTimer("startUpCheckTimer");
    fireTimer("checkForUpdatesTimer");
}

void UpdatesPage::letTenMinutesPass()
{
    fireTimer("installReminderTimer");
}

void UpdatesPage::installPending()
{
    const KOV_RESULT result = CAppUpdateLogic::instance()->installPendingUpdate(false, true);
    if (result == KOV_SUCCESS)
        report(tr("There is nothing to install."));
}

void UpdatesPage::offerSkippedAgain()
{
    const QString id = m_skipped->currentData().toString();
    if (id.isEmpty())
        return;
    report(tr("Version %1 is offered again.").arg(m_skipped->currentText()));
    UpgradeUtils::setUpdateSkipped(id, false);
    showPending();
}

void UpdatesPage::restartConsole()
{
    CAppUpdateLogic::instance()->worker()->processRestart(QString(), true);
}

void UpdatesPage::onCheckFinished(KOV_RESULT result, bool inBackground)
{
    m_lastResult = result;
    const CProductUpdateInfo *pending = CAppUpdateLogic::instance()->pendingUpdateInfo();
    if (result == KOV_ERR_CANCELLED)
        report(tr("The check was cancelled."));
    else if (KOV_FAILED(result))
        report(tr("The check ended with %1.").arg(resultText(result)));
    else if (result == KOV_NO_UPDATE_AVAILABLE)
        report(tr("The console is up to date."));
    else if (pending)
        report(tr("Version %1 is available.").arg(pending->getVersion()));
    else
        report(inBackground ? tr("The version that was found is skipped.") : tr("The check ended."));
    showPending();
    showSchedule();
}

void UpdatesPage::onInstallFinished(KOV_RESULT result)
{
    m_lastInstallation = result;
    if (KOV_SUCCEEDED(result))
        report(tr("The update is installed; the console starts anew."));
    else if (result == KOV_ERR_CANCELLED)
        report(CAppUpdateLogic::instance()->pendingUpdateInfo() ? tr("The installation is put off.")
                                                                : tr("The version is not installed."));
    else
        report(tr("The installation ended with %1.").arg(resultText(result)));
    showPending();
}

void UpdatesPage::showPending()
{
    m_skipped->clear();
    for (const QString &id : UpgradeUtils::skippedUpdates()) {
        CProductUpdateInfo skipped;
        skipped.transactionId = id;
        const QString version = skipped.getVersion();
        m_skipped->addItem(version.isEmpty() ? id : version, id);
    }
    m_skipped->setEnabled(m_skipped->count() > 0);
    const CProductUpdateInfo *pending = CAppUpdateLogic::instance()->pendingUpdateInfo();
    if (!pending) {
        m_pending->setText(
            tr("This is version %1. No update is pending.").arg(QCoreApplication::applicationVersion()));
        return;
    }
    const FileDownloadInfo &package = pending->download;
    m_pending->setText(tr("This is version %1. Version %2 is pending: %3 in %4, MD5 %5.")
                           .arg(QCoreApplication::applicationVersion(), pending->getVersion(),
                                FormatUtils::dataSize(package.size), package.destinationFileName(),
                                package.md5));
}

void UpdatesPage::showSchedule()
{
    CAppUpdateLogic *logic = CAppUpdateLogic::instance();
    m_period->setCurrentIndex(UpdatePreferences::checkPeriod(logic->defaultUpdatePeriod()));
    m_automatic->setChecked(UpdatePreferences::isDownloadAutomatic(logic->isDownloadInBackgroundByDefault()));
    const QDateTime last = UpgradeUtils::lastCheckedOn();
    m_lastChecked->setText(
        last.isValid() ? tr("Last looked for on %1").arg(locale().toString(last, QLocale::ShortFormat))
                       : tr("Not looked for yet"));
}

void UpdatesPage::showSiteState()
{
    const bool running = m_site->isRunning();
    m_siteState->setText(running ? tr("nginx serves %1").arg(m_site->baseUrl().toString())
                                 : tr("nginx is stopped"));
    m_siteButton->setText(running ? tr("&Stop") : tr("&Start"));
}
