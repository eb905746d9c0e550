#include "gui/problem_report/browser/CProblemReportBrowserDialog.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/platform/FileBrowser.h"
#include "gui/problem_report/browser/PersonalCount_p.h"
#include "gui/problem_report/browser/ReportPicture_p.h"
#include "gui/problem_report/report/BackgroundWork_p.h"
#include "gui/problem_report/report/ReportSections.h"
#include "ui_CProblemReportBrowserDialog.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QHeaderView>
#include <QScreen>
#include <QUrl>

namespace {

enum { TypeRole = Qt::UserRole, SourceRole };
enum { PartColumn = 0, PersonalColumn = 1 };

void report(unsigned level, const char *text)
{
    KOV_LOG(int(level), "%s", KovGui::logText(QByteArray(text)).constData());
}

/// Ends it without waiting here: it looks often whether to go on.
void dismiss(BackgroundWork *work)
{
    if (!work)
        return;
    work->disconnect();
    work->cancel();
    work->deleteLater();
}

} // namespace

class CProblemReportBrowserDialog::Private
{
public:
    QTreeWidgetItem *addItem(QTreeWidgetItem *parent, int type, const QString &text, const QString &source);
    int typeOfCurrent() const;

    Ui::CProblemReportBrowserDialog ui;
    CPackedProblemReport report;
    QString baseFolder;
    QString filePath;
    QSet<QString> excluded;
    QPixmap picture;
    QPointer<BackgroundWork> reading;
    QPointer<BackgroundWork> counting;
    bool isFilling = false;
    bool isBusy = false;
};

QTreeWidgetItem *CProblemReportBrowserDialog::Private::addItem(QTreeWidgetItem *parent, int type,
                                                               const QString &text, const QString &source)
{
    auto *item = new QTreeWidgetItem(parent, {text});
    item->setData(PartColumn, TypeRole, type);
    item->setData(PartColumn, SourceRole, source);
    if (source.isEmpty())
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable | Qt::ItemIsAutoTristate);
    else
        item->setCheckState(PartColumn, excluded.contains(source) ? Qt::Unchecked : Qt::Checked);
    return item;
}

int CProblemReportBrowserDialog::Private::typeOfCurrent() const
{
    const QTreeWidgetItem *item = ui.m_treeSectionsList->currentItem();
    return item ? item->data(PartColumn, TypeRole).toInt() : -1;
}

CProblemReportBrowserDialog::CProblemReportBrowserDialog(const CPackedProblemReport &report, QWidget *parent)
    : CBaseDialog(parent, Qt::WindowFlags(), SaveGeometry)
    , d(new Private)
{
    d->report = report;
    setupUI();
    setupConnections();
    setupContent();
}

CProblemReportBrowserDialog::~CProblemReportBrowserDialog() = default;

void CProblemReportBrowserDialog::setupUI()
{
    d->ui.setupUi(this);
    d->ui.m_textFileView->setFilePositionBar(d->ui.m_sbFilePosition);
    d->ui.m_textFileView->setTerms(PersonalData::termsOfUser());
    d->ui.m_treeSectionsList->header()->setSectionResizeMode(PartColumn, QHeaderView::Stretch);
    d->ui.m_treeSectionsList->header()->setSectionResizeMode(PersonalColumn, QHeaderView::ResizeToContents);
    d->ui.m_treeSectionsList->header()->setStretchLastSection(false);
    d->ui.m_treeSectionsList->header()->setObjectName(QStringLiteral("m_headerSections"));
    d->ui.m_treeSectionsList->header()->setAccessibleName(tr("Columns"));
    d->ui.m_splitter->setStretchFactor(1, 1);
    const QSize character(fontMetrics().averageCharWidth(), fontMetrics().lineSpacing());
    d->ui.m_splitter->setSizes({character.width() * 48, width()});
    d->ui.m_pbTakeOut->setEnabled(false);
    d->ui.m_treeSectionsList->setFocus();
    setReportFilePath(QString());
    // As large as reading wants it, where the screen has the room.
    resize(
        QSize(character.width() * 140, character.height() * 38).boundedTo(screen()->availableSize() * 0.85));
}

void CProblemReportBrowserDialog::setupConnections()
{
    connect(d->ui.m_treeSectionsList, &QTreeWidget::currentItemChanged, this,
            &CProblemReportBrowserDialog::onCurrentItemChanged);
    connect(d->ui.m_treeSectionsList, &QTreeWidget::itemChanged, this,
            &CProblemReportBrowserDialog::onItemChanged);
    connect(d->ui.m_pbRevealInFinder, &QPushButton::clicked, this,
            &CProblemReportBrowserDialog::onRevealInFinderClicked);
    connect(d->ui.m_pbClose, &QPushButton::clicked, this, &CProblemReportBrowserDialog::onCloseClicked);
    connect(d->ui.m_pbTakeOut, &QPushButton::clicked, this, &CProblemReportBrowserDialog::takeOutRequested);
    connect(d->ui.m_textFileView, &FileTextView::damageFound, this, [this] {
        d->ui.m_lblNote->setText(tr("This part is not all text: what cannot be shown is replaced here."));
    });
}

void CProblemReportBrowserDialog::setReportBaseFolder(const QString &folder)
{
    d->baseFolder = folder;
    setupContent();
}

QString CProblemReportBrowserDialog::getReportBaseFolder() const
{
    return d->baseFolder;
}

void CProblemReportBrowserDialog::setReportFilePath(const QString &path)
{
    d->filePath = path;
    d->ui.m_lblReportFilePath->setVisible(!path.isEmpty());
    d->ui.m_pbRevealInFinder->setVisible(!path.isEmpty());
    // Room to break the line: a path has no blanks.
    QString shown = QDir::toNativeSeparators(path);
    shown.replace(QDir::separator(), QDir::separator() + QString(QChar(0x200b)));
    d->ui.m_lblReportFilePath->setText(tr("This problem report was saved as %1").arg(shown));
}

void CProblemReportBrowserDialog::setExcludedFiles(const QSet<QString> &files)
{
    d->excluded = files;
    setupContent();
}

QSet<QString> CProblemReportBrowserDialog::excludedFiles() const
{
    return d->excluded;
}

void CProblemReportBrowserDialog::setupContent()
{
    const QString current = getCurrentItemSource();
    d->isFilling = true;
    d->ui.m_treeSectionsList->clear();
    populateGroupItems();
    d->ui.m_treeSectionsList->expandAll();
    d->isFilling = false;
    QTreeWidgetItem *chosen = d->ui.m_treeSectionsList->topLevelItem(0);
    for (QTreeWidgetItemIterator it(d->ui.m_treeSectionsList); *it; ++it) {
        if (!current.isEmpty() && (*it)->data(PartColumn, SourceRole).toString() == current)
            chosen = *it;
    }
    d->ui.m_treeSectionsList->setCurrentItem(chosen);
    countPersonalData();
}

void CProblemReportBrowserDialog::populateGroupItems()
{
    using namespace ReportSections;
    auto *root = new QTreeWidgetItem(d->ui.m_treeSectionsList, {tr("Problem Details")});
    root->setData(PartColumn, TypeRole, MainDocument);
    root->setData(PartColumn, SourceRole, fileName(MainDocument));
    if (d->baseFolder.isEmpty())
        return;
    QHash<int, QTreeWidgetItem *> headings;
    QStringList names = QDir(d->baseFolder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    std::stable_sort(names.begin(), names.end(),
                     [](const QString &a, const QString &b) { return typeOfFile(a) < typeOfFile(b); });
    for (const QString &name : qAsConst(names)) {
        const int type = typeOfFile(name);
        const int heading = headingOf(type);
        if (type == MainDocument)
            continue;
        if (heading >= 0 && !headings.contains(heading))
            headings[heading] = d->addItem(root, heading, title(heading), QString());
        d->addItem(heading >= 0 ? headings[heading] : root, type, heading >= 0 ? name : title(type), name);
    }
}

QString CProblemReportBrowserDialog::getCurrentItemSource() const
{
    const QTreeWidgetItem *item = d->ui.m_treeSectionsList->currentItem();
    return item ? item->data(PartColumn, SourceRole).toString() : QString();
}

void CProblemReportBrowserDialog::onCurrentItemChanged(QTreeWidgetItem *, QTreeWidgetItem *)
{
    if (!d->isFilling)
        setupViewPanelForCurrentItem();
}

void CProblemReportBrowserDialog::setupViewPanelForCurrentItem()
{
    dismiss(d->reading);
    d->picture = QPixmap();
    d->ui.m_lblScreenShotView->clear();
    d->ui.m_lblNote->clear();
    d->ui.m_textFileView->closeFile();
    const bool isPicture = d->typeOfCurrent() == ReportSections::Screenshot;
    d->ui.m_textFileView->setVisible(!isPicture);
    if (isPicture)
        d->ui.m_sbFilePosition->hide();
    d->ui.m_frameScreenShotView->setVisible(isPicture);
    if (!d->isBusy)
        readSectionData();
}

void CProblemReportBrowserDialog::readSectionData()
{
    const QString source = getCurrentItemSource();
    if (source.isEmpty() || d->baseFolder.isEmpty())
        return;
    const QString path = QDir(d->baseFolder).filePath(source);
    if (d->typeOfCurrent() == ReportSections::Screenshot)
        readPixmapData(path);
    else
        readTextData(path);
}

void CProblemReportBrowserDialog::readTextData(const QString &path)
{
    if (!d->ui.m_textFileView->showFile(path))
        d->ui.m_lblNote->setText(tr("This part cannot be read."));
    else if (QFileInfo(path).size() == 0)
        d->ui.m_lblNote->setText(tr("This part is empty."));
}

void CProblemReportBrowserDialog::readPixmapData(const QString &path)
{
    d->ui.m_lblScreenShotView->setText(tr("Reading the picture..."));
    d->reading = new BackgroundWork(
        [path](const BackgroundWork::GoOn &goOn) {
            return QVariant::fromValue(ReportPicture::read(path, [&goOn] { return goOn(0); }));
        },
        this);
    connect(d->reading, &BackgroundWork::finished, this, [this](const QVariant &result) {
        const auto picture = result.value<ReportPicture>();
        d->picture = QPixmap::fromImage(picture.image);
        if (!d->picture.isNull()) {
            d->ui.m_lblNote->setText(
                tr("The picture has %1 × %2 pixels.")
                    .arg(QString::number(picture.size.width()), QString::number(picture.size.height())));
            adjustScreenShotSize();
        } else if (picture.size.isValid()) {
            d->ui.m_lblScreenShotView->setText(
                tr("The picture of %1 × %2 pixels is damaged or too large to be "
                   "shown. It is a part of the report all the same.")
                    .arg(QString::number(picture.size.width()), QString::number(picture.size.height())));
        } else {
            d->ui.m_lblScreenShotView->setText(tr("This part is no picture that can be shown."));
        }
    });
    d->reading->start();
}

void CProblemReportBrowserDialog::adjustScreenShotSize()
{
    if (d->picture.isNull())
        return;
    const qreal ratio = devicePixelRatioF();
    const QSize room = (QSizeF(d->ui.m_lblScreenShotView->size()) * ratio).toSize();
    QPixmap fitted = d->picture;
    if (fitted.width() > room.width() || fitted.height() > room.height())
        fitted = fitted.scaled(room.expandedTo(QSize(1, 1)), Qt::KeepAspectRatio, Qt::SmoothTransformation);
    fitted.setDevicePixelRatio(ratio);
    d->ui.m_lblScreenShotView->setPixmap(fitted);
}

void CProblemReportBrowserDialog::resizeEvent(QResizeEvent *event)
{
    CBaseDialog::resizeEvent(event);
    adjustScreenShotSize();
}

void CProblemReportBrowserDialog::onItemChanged(QTreeWidgetItem *item, int column)
{
    const QString source = item->data(PartColumn, SourceRole).toString();
    if (d->isFilling || column != PartColumn || source.isEmpty()
        || source == ReportSections::fileName(ReportSections::MainDocument))
        return;
    const bool isExcluded = item->checkState(PartColumn) == Qt::Unchecked;
    if (isExcluded == d->excluded.contains(source))
        return;
    if (isExcluded)
        d->excluded.insert(source);
    else
        d->excluded.remove(source);
    Q_EMIT excludedFilesChanged(d->excluded);
    // It lists the parts.
    if (d->typeOfCurrent() == ReportSections::MainDocument)
        setupViewPanelForCurrentItem();
}

void CProblemReportBrowserDialog::cutReportSection(CPackedProblemReport &report,
                                                   const QTreeWidgetItem *item) const
{
    const QString source = item ? item->data(PartColumn, SourceRole).toString() : QString();
    if (!source.isEmpty())
        CutUnunnecessaryData(report, {source});
}

void CProblemReportBrowserDialog::CutUnunnecessaryData(CPackedProblemReport &report) const
{
    CutUnunnecessaryData(report, d->excluded);
}

void CProblemReportBrowserDialog::CutUnunnecessaryData(CPackedProblemReport &report,
                                                       const QSet<QString> &excludedFiles)
{
    using namespace ReportSections;
    const auto cut = [&excludedFiles](int type, auto &section) {
        if (excludedFiles.contains(fileName(type)))
            section.reset();
    };
    cut(AppConfig, report.appConfig);
    cut(VmDirectory, report.vmDirectory);
    cut(NetConfig, report.netConfig);
    cut(CurrentVm, report.currentVm);
    cut(AdvancedVmInfo, report.advancedVmInfo);
    cut(GuestOs, report.guestOs);
    cut(HostInfo, report.hostInfo);
    cut(MoreHostInfo, report.moreHostInfo);
    cut(HostStatistics, report.hostStatistics);
    cut(ClientInfo, report.clientInfo);
    cut(KeyboardMouseProfiles, report.keyboardMouseProfiles);
    const auto isCut = [&excludedFiles](const CReportAttachment &attachment) {
        return excludedFiles.contains(attachment.fileName);
    };
    // The dump's text stands in the main document, too.
    for (const CReportAttachment &attachment : qAsConst(report.attachments)) {
        if (isCut(attachment) && typeOfFile(attachment.fileName) == CrashDump)
            report.crashDump.clear();
    }
    report.attachments.erase(std::remove_if(report.attachments.begin(), report.attachments.end(), isCut),
                             report.attachments.end());
}

void CProblemReportBrowserDialog::setBusy(bool busy)
{
    d->isBusy = busy;
    dismiss(d->counting);
    d->ui.m_treeSectionsList->setEnabled(!busy);
    d->ui.m_pbTakeOut->setEnabled(false);
    if (busy)
        d->ui.m_lblPersonal->setText(tr("Taking your name and folders out of all parts..."));
    // Nothing is open while the files are exchanged.
    setupViewPanelForCurrentItem();
}

void CProblemReportBrowserDialog::countPersonalData()
{
    dismiss(d->counting);
    const QStringList files
        = d->baseFolder.isEmpty() || d->isBusy ? QStringList() : QDir(d->baseFolder).entryList(QDir::Files);
    if (files.isEmpty())
        return;
    d->ui.m_lblPersonal->setText(tr("Looking for your name and folders..."));
    d->ui.m_pbTakeOut->setEnabled(false);
    d->counting = countPersonalDataIn(d->baseFolder, files, this);
    connect(d->counting, &BackgroundWork::finished, this, [this](const QVariant &result) {
        const auto counts = result.value<PersonalCount>();
        for (QTreeWidgetItemIterator it(d->ui.m_treeSectionsList); *it; ++it) {
            const qint64 count = counts.value((*it)->data(PartColumn, SourceRole).toString());
            (*it)->setText(PersonalColumn, count > 0 ? locale().toString(count) : QString());
        }
        d->ui.m_pbTakeOut->setEnabled(!counts.isEmpty());
        d->ui.m_lblPersonal->setText(
            counts.isEmpty() ? tr("No part tells your name, your home folder or the name of this computer.")
                             : tr("%n part(s) tell your name, your home folder or the name of this computer.",
                                  nullptr, counts.size()));
    });
    d->counting->start();
}

void CProblemReportBrowserDialog::onRevealInFinderClicked(bool)
{
    const QString path = d->filePath;
    // A file browser may be slow to start: a window that closes does not wait for it, but the program does.
    auto *work = new BackgroundWork(
        [path](const BackgroundWork::GoOn &goOn) {
            return QVariant(KovGui::Platform::revealFile(
                path.toStdString(), [&goOn] { return goOn(0); }, report));
        },
        qApp);
    connect(work, &BackgroundWork::finished, work, &QObject::deleteLater);
    connect(work, &BackgroundWork::finished, this, [this, path](const QVariant &isRevealed) {
        const QString folder = QFileInfo(path).absolutePath();
        if (!isRevealed.toBool() && !QDesktopServices::openUrl(QUrl::fromLocalFile(folder)))
            d->ui.m_lblNote->setText(tr("No file browser can be opened."));
    });
    work->start();
}

void CProblemReportBrowserDialog::onCloseClicked()
{
    close();
}
