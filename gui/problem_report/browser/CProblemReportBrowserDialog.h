#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/data_model/documents/CPackedProblemReport.h"
#include "gui/window/CBaseDialog.h"

#include <QSet>
#include <QStringList>

#include <memory>

class QTreeWidgetItem;

/**
 * Lets the user look at every part of a problem report, and choose which of them are sent.
 *
 *     CProblemReportBrowserDialog browser(report, parent);
 *     browser.setReportBaseFolder(folder);    // where its files are
 *     browser.exec();
 *     browser.CutUnunnecessaryData(copyOfReport);
 *
 * Files of any size and content can be looked at: of a text a window is read, a picture is read on a thread
 * of its own, and what is too large for that is refused in words. Where a part tells who the user is, that is
 * marked. Everything in a report is foreign and shown as plain text.
 */
class KOVGUI_EXPORT CProblemReportBrowserDialog : public CBaseDialog
{
    Q_OBJECT

public:
    explicit CProblemReportBrowserDialog(const CPackedProblemReport &report, QWidget *parent = nullptr);
    ~CProblemReportBrowserDialog() override;

    /// The folder with the sections as files; fills the tree. Again: it is read anew, and the choice stays.
    void setReportBaseFolder(const QString &folder);
    QString getReportBaseFolder() const;
    /// Where the report was saved; empty: it was not, and there is nothing to reveal.
    void setReportFilePath(const QString &path);
    /// The file names of the parts that are not to be sent. Initially none.
    void setExcludedFiles(const QSet<QString> &files);
    QSet<QString> excludedFiles() const;

    /// The name of the file that the current item shows; empty for a heading.
    QString getCurrentItemSource() const;
    /// Removes the item's section from the report.
    void cutReportSection(CPackedProblemReport &report, const QTreeWidgetItem *item) const;
    /// Removes the sections from the report that the user unchecked.
    void CutUnunnecessaryData(CPackedProblemReport &report) const;
    static void CutUnunnecessaryData(CPackedProblemReport &report, const QSet<QString> &excludedFiles);

    /// While the files are written anew nothing can be chosen, and none is open.
    void setBusy(bool busy);

Q_SIGNALS:
    void excludedFilesChanged(const QSet<QString> &files);
    /// The user wants names and folders of his taken out of the files. Whoever does it calls setBusy(), and
    /// setReportBaseFolder() at the end.
    void takeOutRequested();

protected:
    void resizeEvent(QResizeEvent *event) override;

private Q_SLOTS:
    void onCurrentItemChanged(QTreeWidgetItem *current, QTreeWidgetItem *previous);
    void onRevealInFinderClicked(bool checked);
    void onCloseClicked();

private:
    void setupUI();
    void setupContent();
    void setupConnections();
    void populateGroupItems();
    void setupViewPanelForCurrentItem();
    void readSectionData();
    void readTextData(const QString &path);
    void readPixmapData(const QString &path);
    void adjustScreenShotSize();
    void onItemChanged(QTreeWidgetItem *item, int column);
    void countPersonalData();

    class Private;
    const std::unique_ptr<Private> d;
};
