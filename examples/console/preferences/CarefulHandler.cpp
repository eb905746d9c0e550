#include "examples/console/preferences/CarefulHandler.h"

#include "examples/console/sample/ConsoleMessages.h"
#include "gui/messages/CMessageManager.h"

CarefulHandler::CarefulHandler(QWidget *window)
    : m_window(window)
{ }

bool CarefulHandler::handleValue(const QString &storage, const QString &path, QVariant value)
{
    if (!path.endsWith(QLatin1String(".discardChanges")) || !value.toBool())
        return false;
    m_storage = storage;
    m_path = path;
    m_value = value;
    MessageParams params(ConsoleMessages::DiscardChanges, m_window);
    params.setCloseMsgSlot(CSlotInfo(this, "1onAnswered(KOV_RESULT,Messaging::ButtonID)"));
    CMessageManager::instance()->showMessageBox(params);
    return true;
}

void CarefulHandler::cleanCurrentData(bool)
{
    m_storage.clear();
    m_path.clear();
    m_value.clear();
}

void CarefulHandler::onAnswered(KOV_RESULT, Messaging::ButtonID answer)
{
    if (answer == Messaging::Button1)
        onSuccessMessageClosed();
    else
        onRejectedMessageClosed();
}
