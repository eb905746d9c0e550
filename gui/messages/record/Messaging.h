#pragma once

#include "abstract_task/CSlotInfo.h"
#include "gui/KovGuiGlobal.h"
#include "kov_sdk/KovTypes.h"
#include "kov_sdk_communication/SdkHandleWrap.h"

#include <QMap>
#include <QMessageBox>
#include <QMetaType>
#include <QPointer>
#include <QString>
#include <QWidget>

/// The record that describes one message. Value types; GUI thread only, because a record holds a guarded
/// widget.
namespace Messaging {

/// The answer chosen by the user: 0 none (closed without one, or nothing stored), else the number of the
/// answer.
enum ButtonID : int { ButtonNone = 0, Button1 = 1, Button2 = 2, Button3 = 3 };

/// One answer: its text as it is shown (a mnemonic "&" allowed) and its role.
struct Button
{
    QString text;
    QMessageBox::ButtonRole role = QMessageBox::AcceptRole;
};

using ButtonsMap = QMap<ButtonID, Button>;

/// What stands behind "More details...": a text, or an action to run instead.
class KOVGUI_EXPORT MessageDetails
{
public:
    MessageDetails() = default;
    MessageDetails(const QString &text)
        : m_text(text)
    { }
    MessageDetails(const CSlotInfo &action)
        : m_action(action)
    { }

    QString text() const { return m_text; }
    CSlotInfo action() const { return m_action; }
    /// True without text and without action.
    bool isNull() const { return m_text.isEmpty() && m_action.isEmpty(); }
    /// Set when the text was asked for and brought in already.
    bool flag() const { return m_flag; }
    void setFlag(bool flag) { m_flag = flag; }

private:
    QString m_text;
    CSlotInfo m_action;
    bool m_flag = false;
};

/// The record proper. Texts may hold simple rich text; what was put in for parameters is escaped already.
class KOVGUI_EXPORT MessageData
{
public:
    /// An empty record of code 0.
    MessageData() = default;
    /// Fills type, flags, caption, default answer and details action from the code; texts and answers stay
    /// empty.
    explicit MessageData(int code);

    /// Writes the record to the log, at verbosity 1. Foreign text is escaped.
    void dump() const;

    KOV_RESULT code = KOV_SUCCESS;
    QString issuerId;
    _KOV_MESSAGE_TYPE_ENUM type = KMT_UNKNOWN;
    /// The first, bold text, and the second, explanatory one.
    QString shortMsg;
    QString longMsg;
    /// The window's title.
    QString caption;
    /// Not caused by an action of the user.
    bool spontaneous = false;
    /// The user may choose not to see it again.
    bool canBeHidden = false;
    /// Its parent is searched among the active windows.
    bool useActive = false;
    /// Shown whatever the rules say.
    bool forceShow = false;
    ButtonsMap buttons;
    MessageDetails details;
    /// The answer on which the box opens.
    ButtonID defaultButton = Button1;
    /// Suggests where the message belongs.
    QPointer<QWidget> hintWidget;
    /// The event or job that produced the message; null for none.
    t_SdkHandleWrap eventHandle;
    /// Tells that a problem report was generated.
    bool reportGenerated = false;
    /// The user has just asked for what it tells; a spontaneous message counts as not asked for whatever
    /// stands here. See CBaseDialog::setAskedFor().
    bool askedFor = true;
};

} // namespace Messaging

Q_DECLARE_METATYPE(Messaging::ButtonID)
Q_DECLARE_METATYPE(Messaging::MessageData)
