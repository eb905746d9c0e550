#include "gui/messages/CTaskQuestion.h"

#include "gui/log/Log.h"
#include "gui/messages/CMessageManager.h"

#include <QPointer>
#include <QUuid>

#include <utility>

CTaskQuestion::CTaskQuestion(const QString &issuer, QObject *parent)
    : QObject(parent)
    , m_issuer(issuer.isEmpty() ? QUuid::createUuid().toString() : issuer)
{ }

CTaskQuestion::~CTaskQuestion()
{
    close();
}

void CTaskQuestion::ask(MessageParams message, Answered answered)
{
    close();
    m_open = message.code;
    m_answered = std::move(answered);
    message.setIssuerId(m_issuer).setCloseMsgSlot(CSlotInfo(this, &CTaskQuestion::onClosed, ++m_asking));
    const QPointer<CTaskQuestion> guard(this);
    const bool wasShowing = std::exchange(m_isShowing, true);
    CMessageManager::instance()->showMessageBox(message);
    if (guard)
        m_isShowing = wasShowing;
}

void CTaskQuestion::raise()
{
    if (isOpen())
        CMessageManager::instance()->raiseSpecificMessageBox(m_issuer, m_open);
}

void CTaskQuestion::close()
{
    const KOV_RESULT code = std::exchange(m_open, 0);
    m_answered = nullptr;
    if (code == 0)
        return;
    CMessageManager::instance()->clearMessageQueue(m_issuer);
    CMessageManager::instance()->closeSpecificMessageBox(m_issuer, code);
}

void CTaskQuestion::onClosed(KOV_RESULT code, Messaging::ButtonID answer, QVariant asking)
{
    if (!isOpen() || asking.toInt() != m_asking)
        return;
    m_open = 0;
    if (!m_isShowing) {
        m_answeredByItself.clear();
    } else if (m_answeredByItself.contains(code) && answer != Messaging::ButtonNone) {
        KOV_LOG(1, "(!)Warning: message %d was answered by itself with %d once more: taken as not answered.",
                code, int(answer));
        answer = Messaging::ButtonNone;
    } else {
        m_answeredByItself.insert(code);
    }
    const Answered answered = std::exchange(m_answered, nullptr);
    if (answered)
        answered(code, answer);
}
