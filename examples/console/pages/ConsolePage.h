#pragma once

#include <QWidget>

class QPlainTextEdit;

/// A page of the console: what a subsystem offers above, what happened below.
class ConsolePage : public QWidget
{
    Q_OBJECT

public:
    explicit ConsolePage(const QString &title, QWidget *parent = nullptr);

    /// Where a page puts its own widgets.
    QWidget *area() const { return m_area; }
    /// The last line of what happened.
    QString lastEvent() const { return m_lastEvent; }

public Q_SLOTS:
    /// Adds a line to what happened.
    void report(const QString &line);

Q_SIGNALS:
    void reported(const QString &line);

private:
    QWidget *const m_area;
    QPlainTextEdit *const m_events;
    QString m_lastEvent;
};
