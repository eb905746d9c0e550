#pragma once

#include <QTimer>

/// When a download in the background that failed is tried again: after ten minutes, then after twice the
/// pause before, four hours at most.
class DownloadRetry : public QTimer
{
    Q_OBJECT

public:
    explicit DownloadRetry(QObject *parent);

    /// timeout() comes once, after the next pause.
    void schedule();
    /// Nothing failed: the next pause is the first one.
    void reset();

private:
    int m_minutes = 0;
};
