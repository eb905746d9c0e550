#include "gui/problem_report/report/CProblemReportDelegate.h"

#include "gui/frame/Application.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/messages/CMessageManager.h"

#include <QApplication>

CProblemReportDelegate::CProblemReportDelegate(QObject *parent)
    : QObject(parent)
{ }

CProblemReportDelegate::~CProblemReportDelegate() = default;

void CProblemReportDelegate::processProxyDetection() { }

void CProblemReportDelegate::showMessage(int code, QWidget *parent)
{
    CMessageManager::instance()->showMessageBox(MessageParams(code, parent));
}

void CProblemReportDelegate::postReportSuccess(const QString &id, QWidget *parent)
{
    KOV_LOG(0, "Problem report %s was successfully delivered to Tessarine", KovGui::logText(id).constData());
    m_dialog = parent;
    const auto onClosed = [this](KOV_RESULT, Messaging::ButtonID answer) {
        const QPointer<CProblemReportDelegate> guard(this);
        if (answer != Messaging::ButtonNone)
            onPostSuccessMessageButtonClicked(answer, m_dialog);
        if (guard)
            onPostSuccessMessageClosed();
    };
    CMessageManager::instance()->showMessageBox(MessageParams(KOV_PROBLEM_REPORT_SENT, parent)
                                                    .setLongMsgParams({id})
                                                    .setCloseMsgSlot(CSlotInfo(this, onClosed)));
}

QString CProblemReportDelegate::getWindowTitle()
{
    return KovGui::getAppGuiName();
}

bool CProblemReportDelegate::hasHelp()
{
    return true;
}

void CProblemReportDelegate::helpRequested() { }

QString CProblemReportDelegate::getTitleText(const CPackedProblemReport &)
{
    return QString();
}

QWidget *CProblemReportDelegate::parentWindow(QObject *)
{
    return QApplication::activeWindow();
}

void CProblemReportDelegate::beforeCollection() { }

void CProblemReportDelegate::beforeReportShow(QWidget *) { }

QString CProblemReportDelegate::prepareResourceString(const char *)
{
    return QString();
}

bool CProblemReportDelegate::isAutomaticReport(const CPackedProblemReport &report)
{
    return report.type == QLatin1String("automatic");
}

QString CProblemReportDelegate::getContactMail()
{
    return QString();
}

void CProblemReportDelegate::fillKeyboardMouseProfiles(CPackedProblemReport &) { }

bool CProblemReportDelegate::onPostSuccessMessageButtonClicked(Messaging::ButtonID, QPointer<QWidget>)
{
    return false;
}

void CProblemReportDelegate::onPostSuccessMessageClosed()
{
    closeReportDialog();
}

void CProblemReportDelegate::closeReportDialog()
{
    if (m_dialog)
        QMetaObject::invokeMethod(m_dialog, "closeReportDialog");
}
