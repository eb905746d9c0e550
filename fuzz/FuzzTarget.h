#pragma once

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// Ends the run with a crash: the input broke a promise.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// Qt's reader of JSON loses some bytes of a document that breaks off inside an object.
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libQt5Core";
}

/// Head of a target's only function, which gets each input as a QByteArray of this name. One per program.
#define KOV_FUZZ_TARGET(bytes)                                                                               \
    static void fuzz(const QByteArray &bytes);                                                               \
    extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)                                  \
    {                                                                                                        \
        fuzz(QByteArray(reinterpret_cast<const char *>(data), int(size)));                                   \
        return 0;                                                                                            \
    }                                                                                                        \
    static void fuzz(const QByteArray &bytes)
