#pragma once

#include "gui/data_model/documents/CPackedProblemReport.h"

#include <QObject>
#include <QSet>
#include <QStringList>

#include <memory>

/**
 * What is in a problem report: its main document as an object, and each of its sections as a file in a
 * private folder. The files are what is shown and what is sent.
 *
 * The archive is unpacked on a thread of its own: open() returns at once and opened() follows. A section that
 * the document holds itself becomes a file as well. When the archive cannot be used, the report consists of
 * what the document holds, and complaint() says why, for the user.
 */
class ReportContent : public QObject
{
    Q_OBJECT

public:
    enum State { NotOpened, Opening, Opened, TakingOut };

    explicit ReportContent(QObject *parent = nullptr);
    ~ReportContent() override;

    /// @param document  the main document; false, logged, when it cannot be read
    bool setDocument(const QByteArray &document);
    /// The archive with the sections; empty for none.
    void setArchivePath(const QString &path);
    QString archivePath() const;
    /// A file of this computer that open() copies into the report. A log is copied as long as it is then.
    void addFile(const QString &name, const QString &path);

    /// The same of a text, which becomes a file of the report.
    void addText(const QString &name, const QByteArray &text);

    void open();
    State state() const;
    /// Empty unless something is missing.
    QString complaint() const;
    QString folder() const;
    /// The files but the main document, in the order of the browser.
    QStringList files() const;

    CPackedProblemReport &report();
    const CPackedProblemReport &report() const;
    /// Writes a main document into the folder, as it is to be shown.
    bool writeDocument(const CPackedProblemReport &report);

    /// Takes the names and folders of the user out of all files, and out of every document that is written
    /// from now on but for what the user typed. takenOut() follows; not while the report is opened.
    void takeOutPersonalData();
    /// The bytes of a main document, as writeDocument() writes them.
    QByteArray documentOf(const CPackedProblemReport &report) const;

    /// Forgets a file, which disappears. For the host's screenshot.
    void removeFile(const QString &name);

Q_SIGNALS:
    void opened();
    /// False: a file could not be written, and is as it was.
    void takenOut(bool complete);
    /// Of the work under way, 0 to 100.
    void progress(int percent);

private:
    class Private;
    const std::unique_ptr<Private> d;
};
