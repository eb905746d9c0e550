#pragma once

#include <QWidget>

class QLabel;
class QPlainTextEdit;

/// Shows the end of the log file as it grows, and can move the file away as a rotation would.
class LogPage : public QWidget
{
    Q_OBJECT

public:
    explicit LogPage(QWidget *parent = nullptr);

    QString filePath() const;
    /// Reads what the file gained since the last look.
    void refresh();
    QString shownText() const;

public Q_SLOTS:
    void writeRecord();
    /// False when the file could not be moved.
    bool moveFileAway();

private:
    QPlainTextEdit *m_text = nullptr;
    QLabel *m_path = nullptr;
    qint64 m_read = 0;
};
