#pragma once

#include "gui/KovGuiGlobal.h"

#include <QString>
#include <QStringList>

/**
 * A command line as one text: how it is kept, logged and handed around. Programs are started from the list.
 *
 * Arguments are separated by white space. Double quotes keep white space inside an argument and make an empty
 * one; three in a row are one quote that is part of the argument. A backslash is a character like any other.
 * No shell ever sees the text.
 */
namespace CommandLineUtils {

/// The program always stands in quotes; arguments where they need it. split() gives back program and
/// arguments.
KOVGUI_EXPORT QString join(const QString &program, const QStringList &arguments);
/// The program followed by its arguments; empty when a quote is not closed.
KOVGUI_EXPORT QStringList split(const QString &commandLine);

} // namespace CommandLineUtils
