#include "examples/console/sample/ConsoleMessages.h"

using namespace ConsoleMessages;

QList<Messaging::ButtonID> ConsoleMessageProvider::getPossibleDefaultButtons(int code)
{
    // Either answer about suspending machines may stand for good.
    if (code == SuspendOnQuit)
        return {Messaging::Button1, Messaging::Button2};
    return CMessageDataProvider::getPossibleDefaultButtons(code);
}

Messaging::ButtonsMap ConsoleMessageProvider::getButtonsMap(int code)
{
    switch (code) {
    case DeleteMachine:
        return {{Messaging::Button1, {tr("&Delete"), QMessageBox::DestructiveRole}},
                {Messaging::Button2, {tr("Move to &Trash"), QMessageBox::AcceptRole}},
                {Messaging::Button3, {tr("Cancel"), QMessageBox::RejectRole}}};
    case SuspendOnQuit:
        return {{Messaging::Button1, {tr("&Suspend"), QMessageBox::YesRole}},
                {Messaging::Button2, {tr("&Keep Running"), QMessageBox::NoRole}}};
    case DiscardChanges:
        return {{Messaging::Button1, {tr("&Discard Changes"), QMessageBox::DestructiveRole}},
                {Messaging::Button2, {tr("Cancel"), QMessageBox::RejectRole}}};
    case SendStatistics:
        return {{Messaging::Button1, {tr("&Send Statistics"), QMessageBox::YesRole}},
                {Messaging::Button2, {tr("Do &Not Send"), QMessageBox::NoRole}}};
    case MachineStopped:
        return {{Messaging::Button1, {tr("&Start Again"), QMessageBox::AcceptRole}}};
    case ImageReady:
        return {{Messaging::Button1, {tr("&Open Folder"), QMessageBox::AcceptRole}}};
    case RestartSoon:
        return {{Messaging::Button1, {tr("&Restart Now"), QMessageBox::AcceptRole}},
                {Messaging::Button2, {tr("&Later"), QMessageBox::RejectRole}}};
    default:
        return CMessageDataProvider::getButtonsMap(code);
    }
}

Messaging::ButtonID ConsoleMessageProvider::getDefaultButton(int code)
{
    // What cannot be undone is never one Enter away.
    if (code == DeleteMachine)
        return Messaging::Button3;
    return code == DiscardChanges ? Messaging::Button2 : CMessageDataProvider::getDefaultButton(code);
}

bool ConsoleMessageProvider::hasKBArticle(int code)
{
    return code == MachineNotStarted;
}

bool ConsoleMessageProvider::isNotificationMessage(int code)
{
    return code == MachineStopped || code == SnapshotTaken || code == ImageReady;
}
