#pragma once

// The log stands below Qt, so it has no Qt header to take these from.
#if defined(_WIN32)
#if defined(KovGui_EXPORTS) || defined(KOVGUI_STATIC)
#define KOVGUI_LOG_EXPORT __declspec(dllexport)
#else
#define KOVGUI_LOG_EXPORT __declspec(dllimport)
#endif
#else
#define KOVGUI_LOG_EXPORT __attribute__((visibility("default")))
#endif

#if defined(__MINGW32__)
#define KOVGUI_LOG_PRINTF(text, first) __attribute__((format(gnu_printf, text, first)))
#elif defined(__GNUC__)
#define KOVGUI_LOG_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define KOVGUI_LOG_PRINTF(text, first)
#endif
