#include "examples/console/UpdatesPage.h"

#include "examples/console/ConsoleMessages.h"
#include "gui/KovGui.h"
#include "gui/messages/CMessageManager.h"
#include "gui/messages/MessageParams.h"
#include "gui/update/CProductUpdateInfo.h"
#include "gui/update/UpgradeUtils.h"

#include <QApplication>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

UpdatesPage::UpdatesPage(QWidget *parent)
    : ConsolePage(tr("Product Update"), parent)
    , m_site(new SampleSite(this))
{
    auto *siteBox = new QGroupBox(tr("Sample update site"), area());
    m_siteState = new QLabel(siteBox);
    m_siteState->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_siteButton = new QPushButton(siteBox);
    m_siteButton->setObjectName(QStringLiteral("toggleSite"));
    m_catalogue = new QComboBox(siteBox);
    m_catalogue->setObjectName(QStringLiteral("catalogue"));
    m_catalogue->addItems({tr("holds a newer version"), tr("holds this version"), tr("ends in the middle"),
                           tr("arrives slowly")});
    auto *catalogueLabel = new QLabel(tr("Its &catalogue"), siteBox);
    catalogueLabel->setBuddy(m_catalogue);
    auto *siteRow = new QHBoxLayout(siteBox);
    siteRow->addWidget(m_siteState, 1);
    siteRow->addWidget(catalogueLabel);
    siteRow->addWidget(m_catalogue);
    siteRow->addWidget(m_siteButton);

    m_updater = new QComboBox(area());
    m_updater->setObjectName(QStringLiteral("updater"));
    m_updater->addItems({tr("the updater"), tr("a missing program"), tr("a program that crashes")});
    auto *updaterLabel = new QLabel(tr("&Run"), area());
    updaterLabel->setBuddy(m_updater);
    auto *checkNow = new QPushButton(tr("Check &Now"), area());
    checkNow->setObjectName(QStringLiteral("checkNow"));
    checkNow->setDefault(true);
    auto *checkInBackground = new QPushButton(tr("Check in &Background"), area());
    checkInBackground->setObjectName(QStringLiteral("checkInBackground"));
    auto *checkRow = new QHBoxLayout;
    checkRow->addWidget(updaterLabel);
    checkRow->addWidget(m_updater);
    checkRow->addWidget(checkNow);
    checkRow->addWidget(checkInBackground);
    checkRow->addStretch();

    m_found = new QLabel(tr("No update was looked for yet."), area());
    m_found->setObjectName(QStringLiteral("found"));
    m_found->setTextFormat(Qt::PlainText);
    m_found->setWordWrap(true);
    m_found->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);

    auto *layout = new QVBoxLayout(area());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(siteBox);
    layout->addLayout(checkRow);
    layout->addWidget(m_found);

    connect(m_siteButton, &QPushButton::clicked, this, [this] {
        if (m_site->isRunning())
            m_site->stop();
        else if (!m_site->start())
            report(m_site->errorText());
    });
    connect(m_site, &SampleSite::runningChanged, this, &UpdatesPage::showSiteState);
    connect(m_catalogue, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this](int index) { setCatalogue(SampleSite::Catalogue(index)); });
    connect(m_updater, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this](int index) { setUpdater(Updater(index)); });
    connect(checkNow, &QPushButton::clicked, this, [this] { check(CTaskCheckForProductUpdate::Options()); });
    connect(checkInBackground, &QPushButton::clicked, this,
            [this] { check(CTaskCheckForProductUpdate::CheckInBackground); });

    setUpdater(RealUpdater);
    setCatalogue(SampleSite::Catalogue::UpdateAvailable);
    if (!m_site->start())
        report(m_site->errorText());
    showSiteState();
    UpgradeUtils::setUpdateServerBase(m_site->baseUrl().toString());
}

UpdatesPage::~UpdatesPage()
{
    delete m_task;
    m_site->disconnect(this);
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
    const QString path
        = QCoreApplication::applicationDirPath() + QLatin1Char('/') + QLatin1String(programs[updater]);
    KovGui::setUpdaterFilePathAndUpdateMode(path, QStringLiteral("console"), QStringLiteral("ctl"));
}

void UpdatesPage::check(CTaskCheckForProductUpdate::Options options)
{
    const bool joins = isChecking();
    // One check at a time: asking for it in the foreground brings the running one there.
    m_task = CTaskCheckForProductUpdate::start(options, joins ? CSlotInfo()
                                                              : CSlotInfo(this, "1onFinished(KOV_RESULT)"));
    if (!m_task)
        report(tr("Updates are not looked for here; the log tells why."));
    else if (!joins)
        report(m_task->isCheckInBackground() ? tr("Checking in the background…") : tr("Checking…"));
}

void UpdatesPage::onFinished(KOV_RESULT result)
{
    m_lastResult = result;
    const CProductUpdateInfo *update = m_task ? m_task->getUpdateInfo() : nullptr;
    if (update) {
        showUpdate(*update);
    } else {
        m_found->setText(result == KOV_NO_UPDATE_AVAILABLE ? tr("The console is up to date.")
                                                           : tr("The last check brought no answer."));
        report(tr("The check ended with %1.")
                   .arg(result < 0 ? QStringLiteral("0x%1").arg(uint(result), 8, 16, QLatin1Char('0'))
                                   : QString::number(result)));
    }
    m_task = nullptr;
}

void UpdatesPage::showUpdate(const CProductUpdateInfo &update)
{
    const FileDownloadInfo &package = update.download;
    m_found->setText(tr("Version %1, %2 in %3, MD5 %4\n%5")
                         .arg(update.getVersion(), locale().formattedDataSize(package.size),
                              package.destinationFileName(), package.md5, update.updateDescription));
    report(tr("Version %1 is available.").arg(update.getVersion()));
    CMessageManager::instance()->showMessageBox(MessageParams(ConsoleMessages::UpdateFound, this)
                                                    .setShortMsgParams({update.getVersion()})
                                                    .setLongMsgParams({update.updateDescription})
                                                    .setCloseMsgSlot(CSlotInfo(this, "1onUpdateAnswered()")));
}

void UpdatesPage::onUpdateAnswered()
{
    report(tr("The offer was read."));
}

void UpdatesPage::showSiteState()
{
    const bool running = m_site->isRunning();
    m_siteState->setText(running ? tr("nginx serves %1").arg(m_site->baseUrl().toString())
                                 : tr("nginx is stopped"));
    m_siteButton->setText(running ? tr("&Stop") : tr("&Start"));
}
