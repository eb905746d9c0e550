#pragma once

#include "gui/KovGuiGlobal.h"

#include <QtGlobal>

/// The version of the library that the host runs with, in four numbers as an update compares them. Any
/// thread.
namespace LibraryVersion {

struct Numbers
{
    quint32 major;
    quint32 minor;
    quint32 patchLevel;
    quint32 build;
};

KOVGUI_EXPORT Numbers numbers();
/// "3.1.4-31301"
KOVGUI_EXPORT const char *text();

} // namespace LibraryVersion
