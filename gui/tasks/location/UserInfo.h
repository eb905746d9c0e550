#pragma once

#include "gui/KovGuiGlobal.h"

#include <QList>
#include <QString>
#include <QStringList>

/// What forms ask a user about himself.
namespace UserInfo {

struct Country
{
    QString code; ///< ISO 3166-1, two capital letters
    QString name;
};

/**
 * All countries, sorted by name as the user's language sorts.
 *
 * The data is that of the iso-codes package, with names in the language of the default locale (QLocale())
 * where it has them, else in English. Where the package is not installed the toolkit's own list is taken,
 * with English names, and a warning is logged. Reads files at every call; keep the result.
 */
KOVGUI_EXPORT QList<Country> countries();

/// The countries that a list offers before all others, in the host's order, named as in countries(). At first
/// none.
KOVGUI_EXPORT QList<Country> predefinedCountries();
/// By codes; an unknown one is left out of predefinedCountries() with a line in the log.
KOVGUI_EXPORT void setPredefinedCountries(const QStringList &codes);

/// The prompt in front of a country list, in the user's language.
KOVGUI_EXPORT QString selectRegionText();

} // namespace UserInfo
