#pragma once

#include "abstract_task/CSlotInfo.h"
#include "gui/help/Help.h"
#include "gui/messages/box/CMessageBoxWndBase.h"

#include <QPixmap>

class CMessageBoxPrivate;

/**
 * The box that presents one message: icon, a bold text, an explanation, up to three answers, and what else
 * the message has: details, help, a problem id with a link to its solution, a check box "Do not show this
 * message again", a view of the application, a countdown.
 *
 * The answer is the dialog's result: 1 to 3, or 0 when the box was closed by its title bar or Escape. Every
 * setter updates the box at once; the box grows with its texts up to a part of the screen, beyond which they
 * scroll.
 *
 * Message and description are simple rich text in which foreign text was escaped. Whatever they hold, no
 * picture, style sheet or other file is loaded, and links are opened by nobody: anchorClicked() tells of a
 * click. What is no tag is shown as it was written, and a line break in a text without tags stays one. Of a
 * text of more than 5,000 characters the beginning is shown; "More details..." has the whole. Ctrl+C copies
 * all that the box says, as plain text, unless a part of a text is selected.
 *
 * Countdown: where a text holds "@KOV_GUI_STD_SECONDS_TIMER", optionally followed by "/" and a number of
 * seconds (else 60), the remaining seconds are shown. The count starts when the box is on screen; when it has
 * passed 0, the box answers with its default answer when that is 2 or 3, else with 1, by the same steps as a
 * click. When the answer's action keeps the box open, a text with the placeholder that is set then begins a
 * new count.
 */
class KOVGUI_EXPORT CMessageBox : public CMessageBoxWndBase
{
    Q_OBJECT
    Q_PROPERTY(QString title READ title WRITE setTitle)
    Q_PROPERTY(QString message READ message WRITE setMessage)
    Q_PROPERTY(QString description READ description WRITE setDescription)
    Q_PROPERTY(QString details READ details WRITE setDetails)
    Q_PROPERTY(QPixmap icon READ icon WRITE setIcon)
    Q_PROPERTY(QString button1 READ button1 WRITE setButton1)
    Q_PROPERTY(QString button2 READ button2 WRITE setButton2)
    Q_PROPERTY(QString button3 READ button3 WRITE setButton3)
    Q_PROPERTY(QString problemID READ problemID WRITE setProblemID)
    Q_PROPERTY(bool allowHide READ allowHide WRITE setAllowHide)

public:
    explicit CMessageBox(QWidget *parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags(),
                         CustomWindowFlags customFlags = NoCustomFlags);
    ~CMessageBox() override;

    QString title() const;
    void setTitle(const QString &title);
    /// As it was set, countdown placeholders included.
    QString message() const;
    void setMessage(const QString &text);
    /// An empty description takes no room.
    QString description() const;
    void setDescription(const QString &text);

    /// Plain text behind "More details...", which is there when this or the details action is set.
    QString details() const;
    void setDetails(const QString &details);
    /// Run, without arguments, by "More details..." in place of showing a text.
    void setDetailsAction(const CSlotInfo &action);

    QPixmap icon() const;
    /// A null pixmap leaves no gap.
    void setIcon(const QPixmap &icon);
    /// What a screen reader says for the icon: the severity, for example. Initially "Icon".
    void setIconName(const QString &name);
    /// The help button is there when the topic has an address. Help::NoTopic is the initial value.
    Help::HelpTopic helpTopic() const;
    void setHelpTopic(Help::HelpTopic topic);

    /// With a problem id the box shows it, and a link to the solution where a support page is known.
    QString problemID() const;
    void setProblemID(const QString &id);
    /**
     * Where solutions are found, for all boxes made afterwards; initially nowhere. Empty for nowhere.
     * @param address  http or https; may hold @LOCALE@ for the locale's name and %1 for the problem id.
     * Anything else is refused and logged; the old one stays.
     */
    static bool setSupportPageAddress(const QString &address);

    /// Whether the user may choose not to see the message again; initially not.
    bool allowHide() const;
    void setAllowHide(bool allow);
    /// False while the choice is not offered.
    bool isDoNotShowAgainChecked() const override;

    /// A button's text, "&" marks its mnemonic; an empty one hides the button. The role stays what
    /// setButtonsMap() made it; a new first button accepts, the others reject.
    QString button1() const;
    QString button2() const;
    QString button3() const;
    void setButton1(const QString &text);
    void setButton2(const QString &text);
    void setButton3(const QString &text);
    /// Replaces all three. The roles decide their order, by the desktop's convention.
    void setButtonsMap(const Messaging::ButtonsMap &buttons);
    /// The answer of Enter, and the one with the focus when the box opens. When there is no such button, the
    /// first one stands in.
    Messaging::ButtonID defaultButton() const;
    void setDefaultButton(Messaging::ButtonID button);

    /**
     * Asked before the box ends with an answer: a slot `bool slot(Messaging::ButtonID, QPointer<QWidget>
     * box)` that returns true to keep the box open. It may delete the box. A slot that cannot be called is
     * logged, and the box ends with the answer.
     */
    void setButtonsAction(QObject *receiver, const QString &slot);
    void setButtonsAction(const CSlotInfo &action);

    /// Initially on: a key, a click or the wheel in the box stops a countdown for good. Off: it runs out
    /// whatever the user does.
    void setCountdownStopsWhenTouched(bool stops);

    /// Shows a widget under the texts and takes it over; the one before is deleted. Null removes it.
    void embedView(QWidget *view);
    QWidget *view() const;

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    friend class CMessageBoxPrivate;
    const std::unique_ptr<CMessageBoxPrivate> d;
};
