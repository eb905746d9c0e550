#pragma once

#include <QtGlobal>

#if defined(KovGui_EXPORTS) || defined(KOVGUI_STATIC)
#define KOVGUI_EXPORT Q_DECL_EXPORT
#else
#define KOVGUI_EXPORT Q_DECL_IMPORT
#endif

/// What stands on Qt Quick is a library of its own, KovGuiDeclarative: a host without scenes loads none of
/// it.
#if defined(KovGuiDeclarative_EXPORTS)
#define KOVGUI_DECLARATIVE_EXPORT Q_DECL_EXPORT
#else
#define KOVGUI_DECLARATIVE_EXPORT Q_DECL_IMPORT
#endif
