#pragma once

#include <QString>
#include <QVector>
#include <array>

/// Major, minor, patch level, build; ordered as the numbers are.
using VersionNumber = std::array<quint32, 4>;

/// One to four numbers separated by "." or "-"; empty if the text is anything else.
QVector<quint32> parseVersionParts(const QString &text);
/// All four numbers are needed ("3.1.4.31301" or "3.1.4-31301").
bool parseVersion(const QString &text, VersionNumber *version);
/// "3.1.4-31301".
QString versionText(const VersionNumber &version);
