#pragma once

#include <QObject>

class QTimer;
class QWidget;

/**
 * The countdown in the texts of one box: "@KOV_GUI_STD_SECONDS_TIMER", optionally followed by "/" and a
 * number of seconds (else 60). It counts while the box is on screen, one tick at its beginning and one each
 * second.
 */
class MessageCountdown : public QObject
{
    Q_OBJECT

public:
    explicit MessageCountdown(QWidget *box);

    /// The box's texts have changed. A countdown goes on; one that has run out begins anew when a text with
    /// the placeholder has changed.
    void setTexts(const QString &message, const QString &description);
    /// To be called when the box is shown.
    void beginWhenWanted();
    /// The text with the seconds that are left in place of every placeholder.
    QString filled(QString text) const;
    /// See CMessageBox::setCountdownStopsWhenTouched().
    bool stopsWhenTouched = true;

Q_SIGNALS:
    void ticked();
    /// The receiver may delete the box.
    void ranOut();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void begin();
    bool isCounting() const;
    void stop();
    void tick();

    QWidget *const m_box;
    /// Those of the box's texts that hold the placeholder; empty when none does.
    QString m_texts;
    /// Null before the countdown has begun.
    QTimer *m_timer = nullptr;
    qint64 m_initial = 0;
    qint64 m_remaining = 0;
    bool m_touched = false;
    bool m_hasRunOut = false;
};
