#include "gui/problem_report/dialog/CTessarineProblemReportDialog.h"

#include "gui/frame/Application.h"
#include "gui/frame/LibraryVersion.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/problem_report/browser/CProblemReportBrowserDialog.h"
#include "gui/problem_report/dialog/SupportPage_p.h"
#include "gui/problem_report/report/BackgroundWork_p.h"
#include "gui/problem_report/report/CProblemReportDelegate.h"
#include "gui/problem_report/report/ReportContent_p.h"
#include "gui/problem_report/report/ReportSections.h"
#include "gui/problem_report/send/CProblemReportPost.h"
#include "gui/problem_report/send/KeptReports.h"
#include "gui/problem_report/send/ReportPacking_p.h"
#include "gui/problem_report/send/ReportService.h"
#include "gui/window/CProgressDialog.h"
#include "ui_ProblemReportUI.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLocale>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>

using KovGui::logText;

namespace {

const QString nameKey = QStringLiteral("Problem Report/ContactUserName");
const QString mailKey = QStringLiteral("Problem Report/ContactUserEmail");
/// Bytes of a crash dump that stand in the main document, too.
constexpr int shownDumpSize = 64 * 1024;
const QString dumpFile = QStringLiteral("CrashDump.crash");

bool isMailAddress(const QString &text)
{
    static const QRegularExpression pattern(QStringLiteral("^[^\\s@]+@[^\\s@]+\\.[^\\s@]+$"));
    return pattern.match(text.trimmed()).hasMatch();
}

} // namespace

class CTessarineProblemReportDialog::Private
{
public:
    bool isSending() const { return packing || post; }

    Ui::ProblemReportUI ui;
    ReportContent content;
    QPointer<CProblemReportDelegate> delegate;
    QPointer<CProblemReportPost> post;
    QPointer<BackgroundWork> packing;
    QPointer<CProgressDialog> progress;
    QPointer<CProblemReportBrowserDialog> browser;
    QSet<QString> excluded;
    QString keptId;
    QString notice; ///< of what happened last
    int openedPercent = 0;
    int attempts = 0;
    bool isValid = true;
    bool isCancelled = false; ///< the sending
    bool isDelivered = false;
};

CTessarineProblemReportDialog::CTessarineProblemReportDialog(const QString &crashText,
                                                             CProblemReportDelegate *delegate,
                                                             QWidget *parent)
    : CBaseDialog(parent)
    , d(new Private)
{
    d->delegate = delegate;
    d->isValid = !crashText.isEmpty();
    fillCrashDump(crashText);
    init();
}

CTessarineProblemReportDialog::CTessarineProblemReportDialog(const QString &path, const QByteArray &text,
                                                             CProblemReportDelegate *delegate,
                                                             QWidget *parent, Qt::WindowFlags flags)
    : CBaseDialog(parent, flags)
    , d(new Private)
{
    d->delegate = delegate;
    d->isValid = d->content.setDocument(text);
    d->content.setArchivePath(path);
    init();
}

CTessarineProblemReportDialog::~CTessarineProblemReportDialog()
{
    const bool isUnfinished = d->packing || d->isCancelled;
    // They read files that go with the report.
    delete d->packing;
    delete d->post;
    delete d->browser;
    if (isUnfinished)
        KeptReports::remove(d->keptId);
}

void CTessarineProblemReportDialog::init()
{
    if (!d->delegate)
        d->delegate = new CProblemReportDelegate(this);
    fillParametersBasedOnReportType();
    addKeyboardMouseProfiles();
    setupControls();
    fillPersonalDataFromAddressBook();
    connect(&d->content, &ReportContent::opened, this, &CTessarineProblemReportDialog::onContentOpened);
    connect(&d->content, &ReportContent::progress, this, [this](int percent) {
        d->openedPercent = percent;
        updateControls();
    });
    connect(&d->content, &ReportContent::takenOut, this, [this](bool complete) {
        rewriteDocument();
        if (d->browser) {
            d->browser->setBusy(false);
            d->browser->setReportBaseFolder(d->content.folder());
        }
        d->notice = complete ? QString() : tr("Your name and folders could not be taken out of every part.");
        updateControls();
    });
}

void CTessarineProblemReportDialog::setupControls()
{
    d->ui.setupUi(this);
    setObjectName(QStringLiteral("CTessarineProblemReportDialog"));
    const QString title = d->delegate->prepareResourceString("windowTitle");
    if (!title.isEmpty())
        setWindowTitle(title);
    const QString prompt = d->delegate->prepareResourceString("prompt");
    if (!prompt.isEmpty())
        d->ui.m_lblPrompt->setText(prompt);
    const QString line = d->delegate->getTitleText(d->content.report());
    d->ui.m_lblTitle->setText(line);
    d->ui.m_lblTitle->setVisible(!line.isEmpty());
    d->ui.m_lblImportant->setText(
        d->ui.m_lblImportant->text().arg(supportOptionsPage().toString(QUrl::FullyEncoded)));
    d->ui.m_pbHelp->setVisible(d->delegate->hasHelp());
    d->ui.m_lblState->hide();

    connect(d->ui.m_lblImportant, &QLabel::linkActivated, this,
            [] { QDesktopServices::openUrl(supportOptionsPage()); });
    connect(d->ui.m_lblSeeDetails, &QLabel::linkActivated, this,
            &CTessarineProblemReportDialog::onShowTechData);
    connect(d->ui.m_ckbSendSolution, &QCheckBox::stateChanged, this,
            &CTessarineProblemReportDialog::onSendSolutionStateChanged);
    connect(d->ui.m_leEmail, &QLineEdit::textChanged, this,
            &CTessarineProblemReportDialog::updateEmailRelatedControls);
    connect(d->ui.m_pbHelp, &QPushButton::clicked, this, &CTessarineProblemReportDialog::onHelpRequested);
    connect(d->ui.m_pbSend, &QPushButton::clicked, this, &CTessarineProblemReportDialog::onSendReport);
    connect(d->ui.m_pbCancel, &QPushButton::clicked, this, &CTessarineProblemReportDialog::reject);
}

bool CTessarineProblemReportDialog::isValid() const
{
    return d->isValid;
}

void CTessarineProblemReportDialog::setProblemCode(KOV_RESULT code)
{
    d->content.report().problemCode = code;
}

const CPackedProblemReport &CTessarineProblemReportDialog::report() const
{
    return d->content.report();
}

void CTessarineProblemReportDialog::fillCrashDump(const QString &text)
{
    CPackedProblemReport &report = d->content.report();
    report.type = QStringLiteral("crash");
    const QByteArray bytes = text.toUtf8();
    report.crashDump = text.left(shownDumpSize);
    CReportAttachment attachment;
    attachment.fileName = dumpFile;
    attachment.kind = QStringLiteral("crash");
    attachment.size = qint64(bytes.size());
    report.attachments.append(attachment);
    d->content.addText(dumpFile, bytes);
    // What the application did before is in its log.
    const QString log = QString::fromUtf8(KovGui::logFilePath());
    if (!QFileInfo(log).isFile())
        return;
    attachment.fileName = QFileInfo(log).fileName();
    attachment.kind = QStringLiteral("log");
    attachment.sourcePath = log;
    attachment.size = qint64(QFileInfo(log).size());
    report.attachments.append(attachment);
    d->content.addFile(attachment.fileName, log);
}

void CTessarineProblemReportDialog::addCrashDumpFile(const QString &path)
{
    QString name = QFileInfo(path).completeBaseName() + QStringLiteral(".crash");
    if (name == dumpFile)
        name.prepend(QStringLiteral("File"));
    CReportAttachment attachment;
    attachment.fileName = name;
    attachment.kind = QStringLiteral("crash");
    attachment.sourcePath = path;
    attachment.size = qint64(QFileInfo(path).size());
    d->content.report().attachments.append(attachment);
    d->content.addFile(name, path);
}

void CTessarineProblemReportDialog::fillParametersBasedOnReportType()
{
    CPackedProblemReport &report = d->content.report();
    if (report.type.isEmpty())
        report.type = QStringLiteral("user");
    if (!report.createdOn.isValid())
        report.createdOn = QDateTime::currentDateTimeUtc();
    if (report.productName.isEmpty())
        report.productName = KovGui::getAppGuiName();
    if (report.productVersion.isEmpty())
        report.productVersion = QString::fromLatin1(LibraryVersion::text());
    if (report.clientInfo)
        return;
    CClientInfo client;
    client.productName = report.productName;
    client.productVersion = report.productVersion;
    client.mode = quint32(KovGui::applicationMode());
    client.toolkitVersion = QString::fromLatin1(qVersion());
    client.platform = QGuiApplication::platformName();
    client.locale = QLocale().name();
    client.programPath = QCoreApplication::applicationFilePath();
    report.clientInfo = client;
}

void CTessarineProblemReportDialog::fillPersonalDataFromAddressBook()
{
    const QSettings settings;
    const QString mail = settings.value(mailKey).toString();
    d->ui.m_leName->setText(settings.value(nameKey).toString());
    d->ui.m_leEmail->setText(mail.isEmpty() ? d->delegate->getContactMail() : mail);
    d->ui.textEditDetails->setPlainText(d->content.report().description);
}

void CTessarineProblemReportDialog::addKeyboardMouseProfiles()
{
    d->delegate->fillKeyboardMouseProfiles(d->content.report());
}

void CTessarineProblemReportDialog::setVisible(bool visible)
{
    if (visible && d->content.state() == ReportContent::NotOpened) {
        d->content.open();
        updateControls();
    }
    CBaseDialog::setVisible(visible);
}

void CTessarineProblemReportDialog::onContentOpened()
{
    screenshotLogicProcess();
    rewriteDocument();
    updateControls();
}

void CTessarineProblemReportDialog::screenshotLogicProcess()
{
    if (!d->delegate || !d->delegate->isAutomaticReport(d->content.report()))
        return;
    const QStringList files = d->content.files();
    for (const QString &name : files) {
        if (!ReportSections::isHostScreenshot(name))
            continue;
        d->content.removeFile(name);
        CProblemReportBrowserDialog::CutUnunnecessaryData(d->content.report(), {name});
    }
}

void CTessarineProblemReportDialog::updateControls()
{
    const bool isOpened = d->content.state() == ReportContent::Opened;
    const bool lacksMail = d->ui.m_ckbSendSolution->isChecked() && !isMailAddress(d->ui.m_leEmail->text());
    QString state;
    if (d->content.state() == ReportContent::Opening)
        state = tr("Reading the report... %1 %").arg(d->openedPercent);
    else if (!d->notice.isEmpty())
        state = d->notice;
    else if (!d->content.complaint().isEmpty())
        state = tr("Some parts of this report cannot be used and are not sent: %1.")
                    .arg(d->content.complaint());
    else if (lacksMail)
        state = tr("A solution needs an email address to go to.");
    d->ui.m_lblState->setText(state);
    d->ui.m_lblState->setVisible(!state.isEmpty());
    d->ui.m_lblSeeDetails->setEnabled(isOpened);
    d->ui.m_pbSend->setEnabled(isOpened && !lacksMail && !d->isSending() && !d->isDelivered);
}

void CTessarineProblemReportDialog::onSendSolutionStateChanged(int state)
{
    if (state == Qt::Checked && !isMailAddress(d->ui.m_leEmail->text()))
        d->ui.m_leEmail->setFocus();
    updateControls();
}

void CTessarineProblemReportDialog::updateEmailRelatedControls(const QString &)
{
    updateControls();
}

void CTessarineProblemReportDialog::onHelpRequested()
{
    if (d->delegate)
        d->delegate->helpRequested();
}

void CTessarineProblemReportDialog::readUserInput(CPackedProblemReport &report) const
{
    report.description = d->ui.textEditDetails->toPlainText();
    report.contactName = d->ui.m_leName->text().trimmed();
    report.contactMail = d->ui.m_leEmail->text().trimmed();
    report.isSolutionWanted = d->ui.m_ckbSendSolution->isChecked();
}

void CTessarineProblemReportDialog::rewriteDocument()
{
    CPackedProblemReport shown = d->content.report();
    readUserInput(shown);
    CProblemReportBrowserDialog::CutUnunnecessaryData(shown, d->excluded);
    d->content.writeDocument(shown);
}

void CTessarineProblemReportDialog::onShowTechData()
{
    if (d->content.state() != ReportContent::Opened)
        return;
    if (d->browser) {
        d->browser->present();
        return;
    }
    rewriteDocument();
    d->browser = new CProblemReportBrowserDialog(d->content.report(), this);
    d->browser->setAttribute(Qt::WA_DeleteOnClose);
    d->browser->setExcludedFiles(d->excluded);
    d->browser->setReportFilePath(d->content.archivePath());
    d->browser->setReportBaseFolder(d->content.folder());
    connect(d->browser, &CProblemReportBrowserDialog::excludedFilesChanged, this,
            [this](const QSet<QString> &files) {
                d->excluded = files;
                rewriteDocument();
            });
    connect(d->browser, &CProblemReportBrowserDialog::takeOutRequested, this, [this] {
        d->browser->setBusy(true);
        d->content.takeOutPersonalData();
        updateControls();
    });
    d->browser->open();
}

void CTessarineProblemReportDialog::onSendReport()
{
    if (d->isSending() || d->content.state() != ReportContent::Opened)
        return;
    QSettings settings;
    settings.setValue(nameKey, d->ui.m_leName->text().trimmed());
    settings.setValue(mailKey, d->ui.m_leEmail->text().trimmed());
    // A copy: a second try has everything still.
    CPackedProblemReport agreed = d->content.report();
    readUserInput(agreed);
    CProblemReportBrowserDialog::CutUnunnecessaryData(agreed, d->excluded);
    QStringList files = d->content.files();
    for (const QString &name : qAsConst(d->excluded))
        files.removeAll(name);

    d->progress = new CProgressDialog(this);
    d->progress->setWindowTitle(windowTitle());
    d->progress->setLabelText(tr("Sending..."));
    d->progress->setRange(0, 0);
    connect(d->progress, &CProgressDialog::canceled, this,
            &CTessarineProblemReportDialog::onPostReportCanceled);
    d->progress->open();

    d->isCancelled = false;
    if (!d->keptId.isEmpty())
        KeptReports::remove(d->keptId);
    d->keptId = KeptReports::newId();
    d->packing = ReportPacking::pack(d->keptId, d->attempts, d->content.documentOf(agreed),
                                     d->content.folder(), files, this);
    connect(d->packing, &BackgroundWork::finished, this, [this](const QVariant &result) {
        const auto packed = result.value<ReportPacking::Packed>();
        d->packing->deleteLater();
        d->packing = nullptr;
        // A cancel that came when all was packed counts as well.
        if (d->isCancelled)
            return onPostReportComplete(KOV_ERR_CANCELLED, QStringList());
        if (packed.isDone)
            return postReport();
        if (!packed.reason.isEmpty())
            KOV_LOG(0, "(!)Error: the problem report cannot be packed: %s",
                    logText(packed.reason).constData());
        onPostReportComplete(packed.reason.isEmpty() ? KOV_ERR_CANCELLED : KOV_ERR_FAILURE, QStringList());
    });
    d->packing->start();
    updateControls();
}

void CTessarineProblemReportDialog::postReport()
{
    if (d->delegate)
        d->delegate->processProxyDetection();
    ++d->attempts;
    d->post = new CProblemReportPost(d->keptId, this);
    connect(d->post, &CProblemReportPost::uploadProgress, this,
            &CTessarineProblemReportDialog::onPostReportProgressChanged);
    connect(d->post, &CProblemReportPost::complete, this,
            &CTessarineProblemReportDialog::onPostReportComplete);
    d->post->start();
}

void CTessarineProblemReportDialog::onPostReportProgressChanged(qint64 done, qint64 total)
{
    KOV_LOG(3, " problem report progress iDone = %lld, iTotal=%lld", done, total);
    if (!d->progress || total <= 0)
        return;
    // Thousandths: an amount of bytes is more than the bar counts to.
    d->progress->setRange(0, 1000);
    d->progress->setValue(int(double(done) / double(total) * 1000));
}

void CTessarineProblemReportDialog::onPostReportCanceled()
{
    d->isCancelled = d->isSending();
    if (d->packing)
        d->packing->cancel();
    else if (d->post)
        d->post->cancel();
}

void CTessarineProblemReportDialog::endSending()
{
    if (d->progress) {
        d->progress->hide();
        d->progress->deleteLater();
    }
    d->progress = nullptr;
    if (d->post)
        d->post->deleteLater();
    d->post = nullptr;
    updateControls();
}

void CTessarineProblemReportDialog::onPostReportComplete(KOV_RESULT result, const QStringList &answer)
{
    endSending();
    if (result == KOV_ERR_CANCELLED) {
        // What is not sent is not kept without a word.
        KeptReports::remove(d->keptId);
        d->keptId.clear();
        return;
    }
    if (!d->delegate)
        d->delegate = new CProblemReportDelegate(this);
    if (KOV_FAILED(result)) {
        d->delegate->showMessage(result, this);
        return;
    }
    if (!ReportService::isAccepted(answer)) {
        KOV_LOG(0, " server returned error %s", logText(answer.value(0)).constData());
        d->delegate->showMessage(KOV_PROBLEM_REPORT_NOT_SENT, this);
        return;
    }
    d->keptId.clear();
    d->isDelivered = true;
    updateControls();
    d->delegate->postReportSuccess(ReportService::identifierOf(answer), this);
}

void CTessarineProblemReportDialog::closeReportDialog()
{
    done(Accepted);
}

void CTessarineProblemReportDialog::done(int result)
{
    // A report that is on its way is not what the user wants any more, as by the button of the progress.
    if (d->isSending() && result == Rejected)
        onPostReportCanceled();
    CBaseDialog::done(result);
}
