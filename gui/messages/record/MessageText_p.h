#pragma once

#include "kov_sdk/KovTypes.h"

#include <QString>
#include <QStringList>

/// The texts of messages: pure functions.
namespace MessageText {

/// Puts the parameters in for %1 ... %99: the first for the lowest number in the text, the second for the
/// next, at every place where the number stands. All at once, so a "%2" inside a parameter stays what it is.
/// Placeholders without a parameter stay; parameters without a placeholder are left out.
QString substitute(const QString &text, const QStringList &params);

/// Plain text as rich text: markup is shown as it stands, line breaks stay line breaks.
QString toRichText(const QString &plain);
QStringList toRichText(const QStringList &plain);

/// "ERROR", "QUESTION" ..., for the log.
const char *typeName(_KOV_MESSAGE_TYPE_ENUM type);

} // namespace MessageText
