#pragma once

#include "examples/console/ConsolePage.h"
#include "examples/console/SampleSite.h"
#include "gui/update/CTaskCheckForProductUpdate.h"

#include <QPointer>

class QComboBox;
class QLabel;
class QPushButton;

/// Checks for updates with the real updater program against the sample site.
class UpdatesPage : public ConsolePage
{
    Q_OBJECT

public:
    enum Updater { RealUpdater, MissingUpdater, CrashingUpdater };

    explicit UpdatesPage(QWidget *parent = nullptr);
    ~UpdatesPage() override;

    SampleSite *site() const { return m_site; }
    void setCatalogue(SampleSite::Catalogue catalogue);
    void setUpdater(Updater updater);
    void check(CTaskCheckForProductUpdate::Options options);
    bool isChecking() const { return m_task; }
    /// The result of the last check that ended.
    KOV_RESULT lastResult() const { return m_lastResult; }

private:
    Q_INVOKABLE void onFinished(KOV_RESULT result);
    Q_INVOKABLE void onUpdateAnswered();
    void showSiteState();
    void showUpdate(const CProductUpdateInfo &update);

    SampleSite *const m_site;
    QPointer<CTaskCheckForProductUpdate> m_task;
    KOV_RESULT m_lastResult = KOV_SUCCESS;
    QComboBox *m_catalogue = nullptr;
    QComboBox *m_updater = nullptr;
    QLabel *m_siteState = nullptr;
    QPushButton *m_siteButton = nullptr;
    QLabel *m_found = nullptr;
};
