#include "gui/messages/record/CMessageDataProvider.h"

#include "gui/frame/ImplementationRegistry_p.h"
#include "gui/messages/record/MessageUtils.h"

#include <QApplication>
#include <QStyle>

using Messaging::Button;
using Messaging::Button1;
using Messaging::Button2;
using Messaging::ButtonsMap;

namespace {

bool isRetryQuestion(int code)
{
    return code == KOV_ERR_UPDATE_INSTALLATION_FAILED || code == KOV_QUESTION_CLOSE_APPLICATIONS
           || (code >= KOV_QUESTION_DOWNLOAD_FAILED && code <= KOV_QUESTION_NOT_ENOUGH_DISK_SPACE);
}

ButtonsMap acceptOrReject(const QString &accept, const QString &reject)
{
    return {{Button1, Button{accept, QMessageBox::AcceptRole}},
            {Button2, Button{reject, QMessageBox::RejectRole}}};
}

QStyle::StandardPixmap standardPixmap(_KOV_MESSAGE_TYPE_ENUM type)
{
    switch (type) {
    case KMT_ERROR:
        return QStyle::SP_MessageBoxCritical;
    case KMT_WARNING:
        return QStyle::SP_MessageBoxWarning;
    case KMT_QUESTION:
        return QStyle::SP_MessageBoxQuestion;
    case KMT_INFORMATION:
    case KMT_UNKNOWN:
        break;
    }
    return QStyle::SP_MessageBoxInformation;
}

} // namespace

CMessageDataProvider::CMessageDataProvider() = default;

CMessageDataProvider::~CMessageDataProvider() = default;

CMessageDataProvider *CMessageDataProvider::instance()
{
    return policyInstance<CMessageDataProvider>();
}

bool CMessageDataProvider::isMessageHasAutoAnswer(int)
{
    return false;
}

QList<Messaging::ButtonID> CMessageDataProvider::getPossibleDefaultButtons(int)
{
    return {Button1};
}

QPixmap CMessageDataProvider::getPixmapForMessage(int, _KOV_MESSAGE_TYPE_ENUM type)
{
    const QStyle *style = QApplication::style();
    return style->standardIcon(standardPixmap(type))
        .pixmap(style->pixelMetric(QStyle::PM_MessageBoxIconSize));
}

Help::HelpTopic CMessageDataProvider::getHelpTopicByErrCode(int)
{
    return Help::MessagesTopic;
}

bool CMessageDataProvider::isForceShowMessage(int)
{
    return false;
}

Messaging::ButtonID CMessageDataProvider::getDefaultButton(int code)
{
    // Enter, pressed in passing, must not send a report.
    return canGenerateReport(code) ? Button2 : Button1;
}

ButtonsMap CMessageDataProvider::getButtonsMap(int code)
{
    if (code == KOV_QUESTION_INSTALL_NEW_VERSION)
        return acceptOrReject(tr("Yes, install new"), tr("No, use current"));
    if (isRetryQuestion(code))
        return acceptOrReject(tr("Try Again"), tr("Cancel"));
    if (code == KOV_QUESTION_NO_CONNECTION)
        return acceptOrReject(tr("Try Again"), tr("Install current"));
    if (MessageUtils::getMessageType(code) == KMT_QUESTION) {
        return {{Button1, Button{tr("Yes"), QMessageBox::YesRole}},
                {Button2, Button{tr("No"), QMessageBox::NoRole}}};
    }
    return ButtonsMap();
}

QString CMessageDataProvider::createFakeUrlForHelpFromMessageID(int)
{
    return QString();
}

bool CMessageDataProvider::isShowOnceForVmMessage(int)
{
    return false;
}

bool CMessageDataProvider::isNeedShowErrorByCode(Messaging::MessageData &data)
{
    return !MessageUtils::isShownOnceForVm(data);
}

bool CMessageDataProvider::isBackgroundOnlyNotification(int)
{
    return false;
}

bool CMessageDataProvider::isNotificationMessage(int)
{
    return false;
}

bool CMessageDataProvider::isQtNotificationMessage(int)
{
    return false;
}

bool CMessageDataProvider::isUserInteractiveMessage(int)
{
    return false;
}

CSlotInfo CMessageDataProvider::fillDetailsActionInfo(int)
{
    return CSlotInfo();
}

bool CMessageDataProvider::isShowOnceMessage(int)
{
    return false;
}

bool CMessageDataProvider::hasKBArticle(int)
{
    return false;
}

bool CMessageDataProvider::canGenerateReport(int code)
{
    return hasKBArticle(code);
}

ButtonsMap CMessageDataProvider::buttonsMapForReportGeneratedMessage()
{
    return acceptOrReject(tr("Send Problem Report"), tr("Close"));
}
