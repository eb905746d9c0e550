#pragma once

#include "programs/updater/base/InstallResult.h"
#include "programs/updater/package/PackageManifest.h"

#include <QStringList>

/**
 * Packs a folder: the package that an updater installs as one version. The same files give the same bytes, whenever and
 * wherever they are packed. Links, special files and names that a package must not hold are refused; empty folders are
 * left out, and so is the manifest of a version that was installed.
 *
 * @param output  replaced in one step, or left alone when something is wrong
 */
InstallResult packFolder(const QString &folder, const QString &product, const VersionNumber &version,
                         const QString &output);

/// True for the name of the command of runPackTool().
bool isPackToolCommand(const QString &name);

/// "pack FOLDER --product NAME --version A.B.C.D --output FILE", for those who publish.
/// @param arguments  without the program's name, the command first
ExitCode runPackTool(const QStringList &arguments);
