#pragma once

#include "gui/platform/Report.h"

namespace KovGui::Platform {

/**
 * What a module offers: a part of the library in a file of its own, in the folder "kovgui" beside it, because
 * it needs libraries that few programs ever use. The first call loads it, for the life of the process. Any
 * thread.
 *
 * @param name  of the file, without its ending
 * @return the table of functions that the module's "kovguiFunctions" gives, whose type both sides know; null,
 *         reported, when the module is missing
 */
const void *moduleFunctions(const char *name, Report report);

} // namespace KovGui::Platform
