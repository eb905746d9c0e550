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

/// Plain text as rich text: markup is shown as it stands, line breaks stay line breaks, and nothing in it is
/// a placeholder ("@...") any more.
QString toRichText(const QString &plain);
QStringList toRichText(const QStringList &plain);

/// A caller's text, simple rich text or plain, as rich text: what is no tag is shown as it was written;
/// without any tag, line breaks stay line breaks. Entities are left as they are.
QString asRichText(const QString &text);

/// The placeholders of the library ("@KOV_GUI_...") that came into a text with its parameters, made plain.
/// @param pattern  the same text before its parameters were put in
QString withoutForeignPlaceholders(const QString &text, const QString &pattern);

/// "ERROR", "QUESTION" ..., for the log.
const char *typeName(_KOV_MESSAGE_TYPE_ENUM type);

} // namespace MessageText
