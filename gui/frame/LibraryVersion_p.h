#pragma once

#include "gui/KovGuiGlobal.h"

#include <QtGlobal>

/// The version that this library was built as. In one translation unit: a build that differs in nothing else
/// differs in one object file.
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
