#pragma once

#include "gui/help/Help.h"
#include "gui/messages/record/Messaging.h"

#include <QList>
#include <QObject>
#include <QPixmap>

/**
 * Everything about a message code that the service does not know: answers, default answer, icon, help topic,
 * whether it must be shown. A replaceable policy, registered under "CMessageDataProvider"; the base class
 * answers neutrally.
 */
class KOVGUI_EXPORT CMessageDataProvider : public QObject
{
    Q_OBJECT

public:
    Q_INVOKABLE CMessageDataProvider();
    ~CMessageDataProvider() override;

    /// The registered provider, created on first use and kept for the life of the process; null when none is
    /// registered or the registered class cannot be created (logged).
    static CMessageDataProvider *instance();

    /// Answered with 1 without asking; counts as hidden.
    virtual bool isMessageHasAutoAnswer(int code);
    /// Answers that may be stored when the user chooses not to see the message again. Base: answer 1.
    virtual QList<Messaging::ButtonID> getPossibleDefaultButtons(int code);
    /// The icon at the style's size for message boxes; one per type in the base.
    virtual QPixmap getPixmapForMessage(int code, _KOV_MESSAGE_TYPE_ENUM type);
    virtual Help::HelpTopic getHelpTopicByErrCode(int code);
    virtual bool isForceShowMessage(int code);
    virtual Messaging::ButtonID getDefaultButton(int code);
    virtual Messaging::ButtonsMap getButtonsMap(int code);
    /// The address that the help of a message has, empty for none.
    virtual QString createFakeUrlForHelpFromMessageID(int code);
    /// Shown once per issuer; remembered across runs.
    virtual bool isShowOnceForVmMessage(int code);
    /// False when a once-per-issuer message was shown for its issuer already.
    virtual bool isNeedShowErrorByCode(Messaging::MessageData &data);
    virtual bool isBackgroundOnlyNotification(int code);
    /// Shown as a notification box, never queued.
    virtual bool isNotificationMessage(int code);
    virtual bool isQtNotificationMessage(int code);
    virtual bool isUserInteractiveMessage(int code);
    /// What "More details..." runs.
    virtual CSlotInfo fillDetailsActionInfo(int code);
    /// Shown at most once while the application runs.
    virtual bool isShowOnceMessage(int code);
    /// A solution article exists: the box shows its problem id and a link.
    virtual bool hasKBArticle(int code);
    virtual bool canGenerateReport(int code);
    virtual Messaging::ButtonsMap buttonsMapForReportGeneratedMessage();
};
