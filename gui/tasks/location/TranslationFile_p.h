#pragma once

#include "gui/KovGuiGlobal.h"

#include <QByteArray>
#include <QHash>
#include <QString>

namespace TranslationFile {

/**
 * The texts of a gettext file (.mo) in UTF-8, by their originals; plural forms and the header entry are left
 * out. No I/O. Empty for what is no such file; an entry that points outside the file is skipped.
 */
KOVGUI_EXPORT QHash<QByteArray, QString> read(const QByteArray &file);

} // namespace TranslationFile
