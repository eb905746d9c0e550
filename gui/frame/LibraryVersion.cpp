#include "gui/frame/LibraryVersion.h"

#include "gui/KovVersion.h"

// Nothing else is here: a build that differs in its version alone differs in this one object file.

LibraryVersion::Numbers LibraryVersion::numbers()
{
    return {KOV_VERSION_MAJOR, KOV_VERSION_MINOR, KOV_VERSION_PATCH, KOV_VERSION_BUILD};
}

const char *LibraryVersion::text()
{
    return KOV_VERSION_TEXT;
}
