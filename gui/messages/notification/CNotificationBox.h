#pragma once

#include "gui/messages/box/CMessageBoxWndBase.h"

#include <QPixmap>

/**
 * A message that needs no answer: a frameless box that slides in at the corner of the screen, takes no
 * keystroke meant for the window below it, and closes by itself after five seconds. While the mouse rests on
 * it or the user works in it with the keyboard it stays, and for a second more.
 *
 * The result is 1 when the box or its alternate button was clicked, else 0; the first answer holds, whatever
 * happens while the box slides out. It never carries another message. One that is hidden by its host gives up
 * its place, and finds one anew, with its five seconds, when it is shown again.
 *
 * It takes the keyboard from no window: CNotificationBoxGroup::activateNext() gives it to the box. Screen
 * readers are told of it as a notification.
 *
 * Where windows may not place themselves (Wayland) a box with a parent becomes a part of the parent's window
 * when it is shown, at the corner of it; one without a parent stands where the system puts it.
 *
 * All texts are to be set before it is shown, when it gets its size. Message and description are simple rich
 * text in which foreign text was escaped; whatever they hold, only words, bold, italics, links and line
 * breaks are shown, and nothing is loaded. Texts too long for such a box end in an ellipsis; a tool tip has
 * them whole.
 */
class KOVGUI_EXPORT CNotificationBox : public CMessageBoxWndBase
{
    Q_OBJECT
    Q_PROPERTY(QString message READ message WRITE setMessage)
    Q_PROPERTY(QString description READ description WRITE setDescription)
    Q_PROPERTY(QString details READ details WRITE setDetails)
    Q_PROPERTY(QPixmap icon READ icon WRITE setIcon)
    Q_PROPERTY(QString button1 READ button1 WRITE setButton1)
    Q_PROPERTY(bool allowHide READ allowHide WRITE setAllowHide)
    Q_PROPERTY(bool useFixedSize READ isUseFixedSize WRITE setUseFixedSize)

public:
    explicit CNotificationBox(QWidget *parent = nullptr);
    ~CNotificationBox() override;

    /// The bold text.
    QString message() const;
    void setMessage(const QString &text);
    QString description() const;
    void setDescription(const QString &text);
    /// Plain text, under the others.
    QString details() const;
    void setDetails(const QString &text);
    QPixmap icon() const;
    /// One larger than the box has room for is shown smaller.
    void setIcon(const QPixmap &icon);

    /// The alternate button's text; an empty one, the initial value, hides the button.
    QString button1() const;
    void setButton1(const QString &text);
    /// "Close" initially; an empty text hides the button.
    void setCloseButton(const QString &text);

    /// Whether the user may choose not to see the message again; initially not.
    bool allowHide() const;
    void setAllowHide(bool allow);
    /// False while the choice is not offered.
    bool isDoNotShowAgainChecked() const override;

    /// On: the size follows from the size hint alone; initially off: the texts are laid out first.
    bool isUseFixedSize() const;
    void setUseFixedSize(bool fixed);

    /// Makes its window active, with the focus on a button.
    void takeKeyboard();
    bool hasKeyboard() const;

    QSize sizeHint() const override;
    void setVisible(bool visible) override;
    void done(int answer) override;

public Q_SLOTS:
    void onButtonAlternate();
    void onButtonClose();
    void onDoNotShowFlagToggled(bool checked);
    /// Closes the box, unless it is in use: then a second after it is not any more.
    void onTimeout();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    bool event(QEvent *event) override;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
