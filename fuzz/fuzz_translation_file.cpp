#include "gui/tasks/location/TranslationFile_p.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// A file of translations. No text is longer than the file.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto texts
        = TranslationFile::read(QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size)));
    for (auto it = texts.cbegin(); it != texts.cend(); ++it) {
        if (size_t(it.key().size()) > size || size_t(it.value().size()) > size)
            std::abort();
    }
    return 0;
}
