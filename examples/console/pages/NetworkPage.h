#pragma once

#include "examples/console/pages/ConsolePage.h"
#include "gui/tasks/download/CTaskDownloadFile.h"
#include "gui/tasks/http/CTaskSendHttpRequest.h"

#include <QPointer>
#include <QTemporaryDir>

class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;
class SampleProxy;
class SampleSite;

/// Fetches a page, downloads a file and looks up the country, directly or through a proxy that demands a
/// password.
class NetworkPage : public ConsolePage
{
    Q_OBJECT

public:
    /// @param site  serves what is fetched; stays the caller's
    explicit NetworkPage(SampleSite *site, QWidget *parent = nullptr);
    ~NetworkPage() override;

    void setThroughProxy(bool through);
    bool isBusy() const { return m_request || m_download; }
    CTaskDownloadFile::State downloadState() const;
    /// Where the download landed and its digest was right; empty otherwise.
    QString verifiedFile() const { return m_verified; }

private:
    void fetch();
    void download();
    void verify(const QString &path);
    void locate();
    void cancel();
    void updateButtons();
    QWidget *createTransferRow();
    QWidget *createCountryRow();

    SampleSite *const m_site;
    SampleProxy *const m_proxy;
    QTemporaryDir m_downloads;
    QPointer<CTaskSendHttpRequest> m_request;
    QPointer<CTaskDownloadFile> m_download;
    QString m_verified;
    QComboBox *m_through = nullptr;
    QPushButton *m_fetch = nullptr;
    QPushButton *m_downloadButton = nullptr;
    QPushButton *m_cancel = nullptr;
    QProgressBar *m_progress = nullptr;
    QComboBox *m_country = nullptr;
};
