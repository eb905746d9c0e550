#pragma once

#include "gui/KovGuiGlobal.h"

#include <QString>

/// Amounts as the user reads them, everywhere in the library: in the language of the translations and the
/// number format of the default locale (QLocale()).
namespace FormatUtils {

enum DurationForm {
    ShortForm, ///< "2 h 5 min"
    LongForm, ///< "2 hours 5 minutes"
};

/// An amount of bytes: "512 bytes", "1.5 kB", "2.0 GB". A unit is 1024 of the one below it and one decimal is
/// shown, as file browsers do. A negative amount is shown as 0.
KOVGUI_EXPORT QString dataSize(qint64 bytes);

/// The two largest units of a duration from days down to seconds, cut, not rounded: "1 d 2 h", "10 min",
/// "59 s". A negative duration is shown as 0 seconds.
KOVGUI_EXPORT QString duration(qint64 seconds, DurationForm form = ShortForm);

} // namespace FormatUtils
