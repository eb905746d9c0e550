#pragma once

#include "gui/KovGuiGlobal.h"

#include <QString>

/// A version of four numbers. A value type.
class KOVGUI_EXPORT CAppVersion
{
public:
    /// 0.0.0.0
    CAppVersion() = default;
    CAppVersion(quint32 majorVersion, quint32 minorVersion, quint32 patchLevel, quint32 buildNumber);

    /// The version of this library.
    static CAppVersion currentVersion();
    /// Field by field from the major version on. Positive when the *second* is the newer: 1 when b > a, -1
    /// when b < a, 0 when they are equal.
    static int compare(const CAppVersion &a, const CAppVersion &b);

    /// True for 0.0.0.0.
    bool isNull() const;
    /// "3.1.4.31301"
    QString toString() const;

    quint32 majorVersion() const { return m_majorVersion; }
    quint32 minorVersion() const { return m_minorVersion; }
    quint32 patchLevel() const { return m_patchLevel; }
    quint32 buildNumber() const { return m_buildNumber; }
    void setMajorVersion(quint32 number) { m_majorVersion = number; }
    void setMinorVersion(quint32 number) { m_minorVersion = number; }
    void setPatchLevel(quint32 number) { m_patchLevel = number; }
    void setBuildNumber(quint32 number) { m_buildNumber = number; }

private:
    quint32 m_majorVersion = 0;
    quint32 m_minorVersion = 0;
    quint32 m_patchLevel = 0;
    quint32 m_buildNumber = 0;
};
