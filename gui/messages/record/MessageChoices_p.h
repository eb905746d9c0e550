#pragma once

#include "gui/messages/record/Messaging.h"

#include <QList>

/// What the settings keep about messages (docs/reference/settings.md). Changes are on disk when a call
/// returns; a settings file that cannot be written is logged.
namespace MessageChoices {

bool contains(int code);
/// The stored answer; 0 when there is none or the entry holds no answer.
Messaging::ButtonID answer(int code);
void store(int code, Messaging::ButtonID answer);
void remove(int code);
void removeAll();
/// The codes that have an entry, ascending.
QList<int> codes();

/// The issuer is not empty.
void storeShownOnce(const QString &issuerId, int code);
bool isShownOnce(const QString &issuerId, int code);

} // namespace MessageChoices
