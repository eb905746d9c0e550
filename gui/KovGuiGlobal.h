#pragma once

#include <QtGlobal>

#if defined(KovGui_EXPORTS) || defined(KOVGUI_STATIC)
#define KOVGUI_EXPORT Q_DECL_EXPORT
#else
#define KOVGUI_EXPORT Q_DECL_IMPORT
#endif
