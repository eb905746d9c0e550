#include "gui/frame/LibraryVersion_p.h"

#include "gui/KovVersion.h"

LibraryVersion::Numbers LibraryVersion::numbers()
{
    return {KOV_VERSION_MAJOR, KOV_VERSION_MINOR, KOV_VERSION_PATCH, KOV_VERSION_BUILD};
}

const char *LibraryVersion::text()
{
    return KOV_VERSION_TEXT;
}
