#include "gui/update/record/CAppVersion.h"

#include "gui/frame/LibraryVersion.h"

#include <tuple>

namespace {

auto fields(const CAppVersion &version)
{
    return std::make_tuple(version.majorVersion(), version.minorVersion(), version.patchLevel(),
                           version.buildNumber());
}

} // namespace

CAppVersion::CAppVersion(quint32 majorVersion, quint32 minorVersion, quint32 patchLevel, quint32 buildNumber)
    : m_majorVersion(majorVersion)
    , m_minorVersion(minorVersion)
    , m_patchLevel(patchLevel)
    , m_buildNumber(buildNumber)
{ }

CAppVersion CAppVersion::currentVersion()
{
    const LibraryVersion::Numbers numbers = LibraryVersion::numbers();
    return CAppVersion(numbers.major, numbers.minor, numbers.patchLevel, numbers.build);
}

int CAppVersion::compare(const CAppVersion &a, const CAppVersion &b)
{
    return int(fields(a) < fields(b)) - int(fields(b) < fields(a));
}

bool CAppVersion::isNull() const
{
    return fields(*this) == fields(CAppVersion());
}

QString CAppVersion::toString() const
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg(m_majorVersion)
        .arg(m_minorVersion)
        .arg(m_patchLevel)
        .arg(m_buildNumber);
}
