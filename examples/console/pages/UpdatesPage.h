#pragma once

#include "examples/console/pages/ConsolePage.h"
#include "examples/console/sample/SampleSite.h"
#include "kov_sdk/KovTypes.h"

class QCheckBox;
class QComboBox;
class QHBoxLayout;
class QLabel;
class QPushButton;

/// The update cycle with the real updater program against the sample site: when to look, what to do with what
/// was found.
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
    /// Moves the library's clock on, and lets its timers see it.
    void letADayPass();
    void letTenMinutesPass();
    bool isChecking() const;
    bool isInstalling() const;
    /// The result of the last check, and of the last installation, that ended.
    KOV_RESULT lastResult() const { return m_lastResult; }
    KOV_RESULT lastInstallation() const { return m_lastInstallation; }
    QString pendingText() const;

private:
    Q_INVOKABLE void onCheckFinished(KOV_RESULT result, bool inBackground);
    Q_INVOKABLE void onInstallFinished(KOV_RESULT result);
    QWidget *createSiteBox();
    QWidget *createCheckRow();
    QWidget *createScheduleBox();
    QWidget *createPendingBox();
    void addChoice(QHBoxLayout *row, const QString &text, const char *name, void (*slot)(bool));
    void addButton(QHBoxLayout *row, const QString &text, const char *name, void (UpdatesPage::*slot)());
    void checkNow();
    void checkInBackground();
    void installPending();
    void offerSkippedAgain();
    void restartConsole();
    void check(bool inBackground);
    void showSiteState();
    void showPending();
    void showSchedule();

    SampleSite *const m_site;
    KOV_RESULT m_lastResult = KOV_SUCCESS;
    KOV_RESULT m_lastInstallation = KOV_SUCCESS;
    int m_daysPassed = 0;
    QComboBox *m_catalogue = nullptr;
    QComboBox *m_updater = nullptr;
    QComboBox *m_period = nullptr;
    QCheckBox *m_automatic = nullptr;
    QLabel *m_lastChecked = nullptr;
    QLabel *m_siteState = nullptr;
    QPushButton *m_siteButton = nullptr;
    QComboBox *m_skipped = nullptr;
    QLabel *m_pending = nullptr;
};
