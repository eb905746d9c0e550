#pragma once

#include "gui/problem_report/report/PersonalData.h"

#include <QFile>
#include <QPlainTextEdit>

class QScrollBar;
class QSyntaxHighlighter;

/**
 * Shows a text file of any size and content: holds one window of it and moves that along while its user
 * scrolls. What is no text shows as replacement characters; a line is broken where it is too long to be laid
 * out at once. Terms are marked.
 *
 * A file that is too large for one window is scrolled by a bar of its owner's, which stands for the whole
 * file.
 */
class FileTextView : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit FileTextView(QWidget *parent = nullptr);
    ~FileTextView() override;

    /// Shown while a file is larger than a window. Stays its owner's, and must live as long as the view is
    /// used.
    void setFilePositionBar(QScrollBar *bar);
    void setTerms(const QVector<PersonalData::Term> &terms);

    /// From its beginning. False, and nothing shown, when it cannot be read. The file is kept open.
    bool showFile(const QString &path);
    /// What was shown is gone.
    void closeFile();

Q_SIGNALS:
    void damageFound();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void showAt(qint64 offset);
    QByteArray windowAt(qint64 offset);
    void showText(const QByteArray &bytes);
    void onScrolled();
    void updateBar();

    QFile m_file;
    qint64 m_size = 0;
    qint64 m_start = 0; ///< of the window
    qint64 m_end = 0;
    QVector<qint64> m_offsets; ///< of each block in the file
    QSyntaxHighlighter *m_marks = nullptr;
    QScrollBar *m_bar = nullptr;
    bool m_isMoving = false;
    bool m_isDamaged = false;
};
