#include "kov_sdk/ServiceCall_p.h"

#include <QByteArray>
#include <QString>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <limits>

namespace KovService {

static void writeToStandardError(unsigned, const char *text)
{
    std::fprintf(stderr, "KovSdk: %s\n", text);
}

static std::atomic<KovApi_LogFunction> logFunction{writeToStandardError};

static std::string oneLine(const std::string &text)
{
    std::string line;
    line.reserve(text.size());
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte != 0x7f) {
            line += character;
            continue;
        }
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\x%02x", byte);
        line += escaped;
    }
    return line;
}

void log(unsigned level, const std::string &text) noexcept
{
    try {
        logFunction.load()(level, oneLine(text).c_str());
    } catch (const std::bad_alloc &) {
        logFunction.load()(level, "(!)Error: out of memory while logging");
    }
}

void logError(const char *function, const std::string &complaint) noexcept
{
    try {
        log(0, std::string("(!)Error: ") + function + ": " + complaint);
    } catch (const std::bad_alloc &) {
        logFunction.load()(0, "(!)Error: out of memory while logging");
    }
}

KOV_RESULT copyText(const std::string &text, char *buffer, uint32_t *size)
{
    if (!size || text.size() >= std::numeric_limits<uint32_t>::max())
        return KOV_ERR_INVALID_ARG;
    const auto length = static_cast<uint32_t>(text.size());
    if (!buffer) {
        *size = length;
        return KOV_SUCCESS;
    }
    if (*size <= length) {
        *size = length + 1;
        return KOV_ERR_BUFFER_OVERRUN;
    }
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    *size = length;
    return KOV_SUCCESS;
}

std::string validUtf8(const char *text)
{
    return QString::fromUtf8(text).toStdString();
}

} // namespace KovService

extern "C" void KovApi_SetLogFunction(KovApi_LogFunction function)
{
    KovService::logFunction = function ? function : KovService::writeToStandardError;
}
