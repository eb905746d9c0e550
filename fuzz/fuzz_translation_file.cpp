// A file of translations: no text is longer than the file.
#include "fuzz/FuzzTarget.h"
#include "gui/tasks/location/TranslationFile_p.h"

KOV_FUZZ_TARGET(file)
{
    const auto texts = TranslationFile::read(file);
    for (auto it = texts.cbegin(); it != texts.cend(); ++it)
        require(it.key().size() <= file.size() && it.value().size() <= file.size());
}
