#include "gui/frame/Application.h"

#include <iterator>

QString EnumUtils::clientAppNameFromAppMode(_KOV_APPLICATION_MODE mode)
{
    static const char *const names[] = {
        "Tessarine Console", "Tessarine Server", "Tessarine Remote Agent", "Tessarine Workstation",
        "Tessarine Player",  "Tessarine Server", "Tessarine Mobile",
    };
    const int index = mode;
    if (index < 0 || index >= int(std::size(names)))
        return QStringLiteral("Unknown product");
    return QString::fromLatin1(names[index]);
}
