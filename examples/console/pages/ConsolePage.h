#pragma once

#include <QPair>
#include <QWidget>

#include <functional>

class QListWidget;
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

protected:
    /// A list in the area, as high as its entries, that does something with an entry's code.
    QListWidget *createCodeList(const QList<QPair<QString, int>> &entries,
                                const std::function<void(int code)> &action);
    /// The code of the entry that is chosen.
    static int chosenCode(const QListWidget *list);

private:
    QWidget *const m_area;
    QPlainTextEdit *const m_events;
    QString m_lastEvent;
};
