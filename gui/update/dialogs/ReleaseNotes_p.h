#pragma once

#include "gui/KovGuiGlobal.h"

#include <QString>

/// The release notes of an update: foreign text, mostly plain. Pure.
namespace ReleaseNotes {

/// Longest notes shown, in characters.
const int maximumLength = 65536;

/**
 * The notes as simple rich text of this library's own making: bold, italics, paragraphs, lists, line breaks
 * and links to web pages (http or https, without user information). Every other tag and every attribute is
 * dropped, styles, scripts and comments with what they hold, so that the result names nothing that could be
 * loaded.
 *
 * Without a tag that is known here the notes are plain text: shown as they stand, line by line. With tags,
 * line breaks of the source count as long as no tag makes one.
 */
KOVGUI_EXPORT QString toHtml(const QString &notes);

} // namespace ReleaseNotes
