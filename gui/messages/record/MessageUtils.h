#pragma once

#include "gui/messages/record/Messaging.h"

#include <QList>

/**
 * Texts and kinds of messages as the service knows them, and the user's choices not to see a message again.
 *
 * The choices are in the application's own settings (docs/reference/settings.md). Everything that changes
 * them is on disk when the call returns, and two processes that store different choices at once keep both.
 * GUI thread only.
 *
 * A service call that fails is logged with its result code; the functions then answer with an empty text,
 * type 0, "may not be hidden" or no answers.
 */
namespace MessageUtils {

/// @param brief  true for the first, bold text; false for the explanatory one
KOVGUI_EXPORT QString getMessageString(int code, bool brief);
/// The text with the event's own parameters put in.
KOVGUI_EXPORT QString getMessageString(const t_SdkHandleWrap &event, bool brief);
KOVGUI_EXPORT _KOV_MESSAGE_TYPE_ENUM getMessageType(int code);
/// What the user quotes to support: lower-case hexadecimal without the error bit for errors, decimal for
/// others.
KOVGUI_EXPORT QString getProblemID(int code);

/// The answers that an event offers in its parameters "vm_message_choice_0" to "_2" (numbers of texts); the
/// provider's answers for the code when it offers none.
KOVGUI_EXPORT Messaging::ButtonsMap getButtonsMap(const t_SdkHandleWrap &event, int code);
/// The event inside the event (parameter "internal_event"), null when there is none.
KOVGUI_EXPORT t_SdkHandleWrap getComplexEventParam(const t_SdkHandleWrap &event);

/// Whether the service lets the user hide the message. A choice stored for a message that may not be hidden
/// is removed.
KOVGUI_EXPORT bool isMessageCanBeHidden(int code);
/// True when the message is answered without asking.
KOVGUI_EXPORT bool isMessageHidden(int code);
/// The answer that a hidden message gives; 0 when none is stored or the message may not be hidden.
KOVGUI_EXPORT Messaging::ButtonID getDefaultButtonForHiddenMessage(int code);
/// Whether the answer may stand for the message from now on.
KOVGUI_EXPORT bool isButtonCanBeSaved(Messaging::ButtonID button, int code);
/// Stores the answer and hides the message from now on; does nothing unless isButtonCanBeSaved(). A settings
/// file that cannot be written is logged.
KOVGUI_EXPORT void setMessageHidden(int code, Messaging::ButtonID button);
KOVGUI_EXPORT void restoreHiddenMessage(int code);
KOVGUI_EXPORT void restoreHiddenMessages();
/// The codes that are hidden by a stored answer, ascending. Choices that stand no longer are removed on the
/// way.
KOVGUI_EXPORT QList<int> hiddenMessages();
KOVGUI_EXPORT int getHiddenMessagesCount();
KOVGUI_EXPORT void dumpHiddenMessages();

/// Remembers that the message was shown for its issuer; one code is kept per issuer. Without an issuer it
/// does nothing.
KOVGUI_EXPORT void saveShowOnceForVmMessage(const Messaging::MessageData &data);
/// Whether this very code was the last one remembered for the record's issuer.
KOVGUI_EXPORT bool isShownOnceForVm(const Messaging::MessageData &data);

/// Device positions count from zero inside the service and from one for people. deviceIdToString() makes the
/// first pair of numbers of one or two digits ("1 0": interface, then place) "2:1"; incDeviceIndex() adds one
/// to the first number of one or two digits. A text without such numbers stays as it is.
KOVGUI_EXPORT void deviceIdToString(QString &text);
KOVGUI_EXPORT void incDeviceIndex(QString &text);

} // namespace MessageUtils
