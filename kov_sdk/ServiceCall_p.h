#pragma once

#include "kov_sdk/KovSdk.h"

#include <exception>
#include <new>
#include <string>

/// What every function of the C interface stands on.
namespace KovService {

/// Hands one line to the log function. Control characters of `text` are escaped, so that it stays one line.
void log(unsigned level, const std::string &text) noexcept;

/// Level 0: "(!)Error: <function>: <complaint>".
void logError(const char *function, const std::string &complaint) noexcept;

/// The buffer rules of KovSdk.h.
KOV_RESULT copyText(const std::string &text, char *buffer, uint32_t *size);

/// `text` with invalid UTF-8 replaced by U+FFFD.
std::string validUtf8(const char *text);

/// Runs the body of a function of the C interface: no exception crosses into a C program.
template <typename Body>
KOV_RESULT call(const char *function, Body body) noexcept
{
    try {
        return body();
    } catch (const std::bad_alloc &) {
        logError(function, "out of memory");
        return KOV_ERR_OUT_OF_MEMORY;
    } catch (const std::exception &error) {
        logError(function, error.what());
        return KOV_ERR_FAILURE;
    }
}

} // namespace KovService
