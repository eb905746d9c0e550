#include "examples/console/pages/NetworkPage.h"

#include "examples/console/sample/SampleProxy.h"
#include "examples/console/sample/SampleSite.h"
#include "gui/tasks/download/CMd5Calculator.h"
#include "gui/tasks/location/CCountryListModel.h"
#include "gui/tasks/location/CIpGeoLocator.h"
#include "gui/tasks/progress/FormatUtils.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QNetworkReply>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QVBoxLayout>

namespace {

QString hex(KOV_RESULT result)
{
    return QStringLiteral("0x%1").arg(uint(result), 8, 16, QLatin1Char('0'));
}

} // namespace

NetworkPage::NetworkPage(SampleSite *site, QWidget *parent)
    : ConsolePage(tr("Network"), parent)
    , m_site(site)
    , m_proxy(new SampleProxy(this))
{
    m_through = new QComboBox(area());
    m_through->setObjectName(QStringLiteral("through"));
    m_through->addItems({tr("directly"), tr("through a proxy that demands a password")});
    connect(m_through, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this](int index) { setThroughProxy(index == 1); });
    auto *throughLabel = new QLabel(tr("Conn&ect"), area());
    throughLabel->setBuddy(m_through);
    auto *hint = new QLabel(tr("The sample proxy knows “%1” with the password “%2”.")
                                .arg(SampleProxy::user(), SampleProxy::password()),
                            area());

    auto *throughRow = new QHBoxLayout;
    throughRow->addWidget(throughLabel);
    throughRow->addWidget(m_through);
    throughRow->addWidget(hint, 1);
    auto *layout = new QVBoxLayout(area());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(throughRow);
    layout->addWidget(createTransferRow());
    layout->addWidget(createCountryRow());
    updateButtons();
}

NetworkPage::~NetworkPage()
{
    delete m_request;
    delete m_download;
}

QWidget *NetworkPage::createTransferRow()
{
    auto *widget = new QWidget(area());
    m_fetch = new QPushButton(tr("&Fetch a Page"), widget);
    m_fetch->setObjectName(QStringLiteral("fetch"));
    m_downloadButton = new QPushButton(tr("&Download a File"), widget);
    m_downloadButton->setObjectName(QStringLiteral("download"));
    m_cancel = new QPushButton(tr("&Cancel"), widget);
    m_cancel->setObjectName(QStringLiteral("cancelTransfer"));
    m_progress = new QProgressBar(widget);
    m_progress->setAccessibleName(tr("Part of the file that has arrived"));
    connect(m_fetch, &QPushButton::clicked, this, &NetworkPage::fetch);
    connect(m_downloadButton, &QPushButton::clicked, this, &NetworkPage::download);
    connect(m_cancel, &QPushButton::clicked, this, &NetworkPage::cancel);

    auto *row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    for (QWidget *each : {static_cast<QWidget *>(m_fetch), static_cast<QWidget *>(m_downloadButton),
                          static_cast<QWidget *>(m_cancel)})
        row->addWidget(each);
    row->addWidget(m_progress, 1);
    return widget;
}

QWidget *NetworkPage::createCountryRow()
{
    auto *widget = new QWidget(area());
    m_country = new QComboBox(widget);
    m_country->setObjectName(QStringLiteral("country"));
    m_country->setModel(new CCountryListModel(m_country));
    auto *label = new QLabel(tr("C&ountry"), widget);
    label->setBuddy(m_country);
    auto *find = new QPushButton(tr("Find &My Country"), widget);
    find->setObjectName(QStringLiteral("findCountry"));
    connect(find, &QPushButton::clicked, this, &NetworkPage::locate);
    connect(CIpGeoLocator::instance(), &CIpGeoLocator::finished, this, [this] {
        const CIpGeoLocator *locator = CIpGeoLocator::instance();
        const int index = m_country->findData(locator->countryCode());
        if (locator->state() == CIpGeoLocator::Located && index >= 0)
            m_country->setCurrentIndex(index);
        report(locator->state() == CIpGeoLocator::Located
                   ? tr("The service says %1.").arg(m_country->currentText())
                   : tr("The country could not be found (error %1).").arg(int(locator->error())));
    });

    auto *row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(label);
    row->addWidget(m_country);
    row->addWidget(find);
    row->addStretch();
    return widget;
}

void NetworkPage::setThroughProxy(bool through)
{
    m_through->setCurrentIndex(through ? 1 : 0);
    if (through && !m_proxy->start()) {
        report(m_proxy->errorText());
        through = false;
    }
    QSettings settings;
    settings.beginGroup(QStringLiteral("User Preferences/Proxy"));
    settings.setValue(QStringLiteral("Proxy Enabled"), through);
    settings.setValue(QStringLiteral("Proxy Http Host"), QStringLiteral("127.0.0.1"));
    settings.setValue(QStringLiteral("Proxy Http Port"), QString::number(m_proxy->port()));
}

CTaskDownloadFile::State NetworkPage::downloadState() const
{
    return m_download ? m_download->state() : CTaskDownloadFile::NotStarted;
}

void NetworkPage::fetch()
{
    m_request = new CTaskSendHttpRequest(m_site->pageUrl().toString(), WebUtils::QueryItems(), nullptr,
                                         QNetworkAccessManager::GetOperation, QByteArray());
    connect(m_request, &CAbstractTask::taskFinished, this, [this](KOV_RESULT result) {
        const QNetworkReply *reply = m_request->reply();
        if (KOV_SUCCEEDED(result) && reply)
            report(tr("The page came: %1.")
                       .arg(FormatUtils::dataSize(
                           reply->header(QNetworkRequest::ContentLengthHeader).toLongLong())));
        else
            report(tr("The page did not come: %1.").arg(hex(result)));
        m_request->deleteLater();
        m_request = nullptr;
        updateButtons();
    });
    m_request->execute();
    updateButtons();
}

void NetworkPage::download()
{
    m_verified.clear();
    m_progress->setValue(0);
    m_download = new CTaskDownloadFile(m_site->fileUrl().toString(), m_downloads.path(),
                                       CTaskDownloadFile::Reconnect);
    connect(m_download, &CTaskDownloadFile::stateChanged, this, [this](CTaskDownloadFile::State state) {
        if (state == CTaskDownloadFile::WaitingForReconnect)
            report(tr("The connection is lost; the download goes on by itself in a moment."));
        else if (state == CTaskDownloadFile::Downloading)
            report(tr("Downloading…"));
    });
    connect(m_download, &CTaskDownloadFile::sendDownloadProgressData, this,
            [this](const DownloadProgressData &data) { m_progress->setValue(data.progress); });
    connect(m_download, &CTaskDownloadFile::downloadFinished, this,
            [this](const QString &path, int error, int cancelled) {
                if (error == 0 && !cancelled)
                    verify(path);
                else
                    report(cancelled ? tr("The download was cancelled.")
                                     : tr("The download failed: %1.").arg(error));
            });
    connect(m_download, &CAbstractTask::taskFinished, this, [this] {
        m_download->deleteLater();
        m_download = nullptr;
        updateButtons();
    });
    m_download->execute();
    updateButtons();
}

void NetworkPage::verify(const QString &path)
{
    auto *calculator = new CMd5Calculator(path, this);
    connect(calculator, &CMd5Calculator::finished, this, [this, path](bool ok, const QString &digest) {
        const bool right = ok && digest == m_site->fileMd5();
        m_verified = right ? path : QString();
        report(right ? tr("The file is here, and its digest is right.") : tr("The file's digest is wrong."));
    });
    calculator->start();
}

void NetworkPage::locate()
{
    CIpGeoLocator::instance()->setUrl(m_site->countryServiceUrl().toString());
    CIpGeoLocator::instance()->locate();
}

void NetworkPage::cancel()
{
    if (m_download)
        m_download->cancel();
    if (m_request)
        m_request->terminate(KOV_ERR_CANCELLED);
}

void NetworkPage::updateButtons()
{
    m_fetch->setEnabled(!isBusy());
    m_downloadButton->setEnabled(!isBusy());
    m_cancel->setEnabled(isBusy());
}
