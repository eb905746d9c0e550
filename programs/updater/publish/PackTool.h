#pragma once

#include "programs/updater/base/InstallResult.h"
#include "programs/updater/package/PackageManifest.h"

#include <QStringList>

/**
 * Packs a folder: the package that an updater installs as one version. The same files give the same bytes,
 * whenever and wherever they are packed. Links, special files, names that a package must not hold, and what
 * cannot be read are refused; empty folders are left out, and so are the manifest of a version that was
 * installed, the output and its signature.
 *
 * @param output  replaced in one step, or left alone when something is wrong
 */
InstallResult packFolder(const QString &folder, const QString &product, const VersionNumber &version,
                         const QString &output);

/// "pack", for those who publish.
ExitCode runPackTool(const QStringList &arguments, const QString &programDirectory);
