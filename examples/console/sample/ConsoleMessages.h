#pragma once

#include "gui/messages/record/CMessageDataProvider.h"

/// The console's own message codes; their texts are in messages.json.
namespace ConsoleMessages {

enum Code : int {
    DeleteMachine = 60002,
    SuspendOnQuit = 60003,
    RestartSoon = 60004,
    DiskAlmostFull = 60005,
    DiscardChanges = 60006,
    SendStatistics = 60007,
    MachineStopped = 60008,
    SnapshotTaken = 60009,
    ImageReady = 60010,
    MachineNotStarted = KOV_RESULT_CODE(0x80060001u),
    NetworkLost = KOV_RESULT_CODE(0x80060002u),
    MachineRefused = KOV_RESULT_CODE(0x80060003u),
    PreferencesNotSaved = KOV_RESULT_CODE(0x80060004u),
};

} // namespace ConsoleMessages

/// What the service does not know about the console's messages.
class ConsoleMessageProvider : public CMessageDataProvider
{
    Q_OBJECT

public:
    Q_INVOKABLE ConsoleMessageProvider() = default;

    QList<Messaging::ButtonID> getPossibleDefaultButtons(int code) override;
    Messaging::ButtonsMap getButtonsMap(int code) override;
    Messaging::ButtonID getDefaultButton(int code) override;
    bool hasKBArticle(int code) override;
    bool isNotificationMessage(int code) override;
};
