#pragma once

#include "gui/KovGuiGlobal.h"

/// What the user chose about updates, in the application's default settings. CAppUpdateLogic tells what holds
/// as long as the user did not choose. GUI thread only.
namespace UpdatePreferences {

enum CheckPeriod {
    Never = 0,
    Daily = 1,
    Weekly = 2,
    /// A calendar month.
    Monthly = 3,
};

/// @param byDefault what holds without a choice; any other number than the four counts as Never, stored or
/// here
KOVGUI_EXPORT CheckPeriod checkPeriod(int byDefault);
KOVGUI_EXPORT void setCheckPeriod(CheckPeriod period);

/// Updates that are found are downloaded in the background, without a question.
KOVGUI_EXPORT bool isDownloadAutomatic(bool byDefault);
KOVGUI_EXPORT void setDownloadAutomatic(bool automatic);

} // namespace UpdatePreferences
