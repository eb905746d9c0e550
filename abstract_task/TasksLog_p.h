#pragma once

#include "abstract_task/Tasks.h"

namespace Tasks {

/// True when a line of that level has a reader; ask before collecting what a debug line needs.
bool isLogged(unsigned level);

/// Formats as printf does and hands the line over when the level has a reader. Cut at 1,023 bytes; control
/// characters in it become blanks, so that foreign text cannot forge a second line.
#if defined(Q_CC_GNU) || defined(Q_CC_CLANG)
__attribute__((format(printf, 2, 3)))
#endif
void log(unsigned level, const char *format, ...);

} // namespace Tasks
