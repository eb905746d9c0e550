#pragma once

#include "programs/updater/install/Installation.h"
#include "programs/updater/trust/Signature.h"

#include <QDateTime>

class OfferStore;

struct InstallRequest
{
    /// The installation's folder.
    QString root;
    QString packageFile;
    QVector<Signature::PublicKey> keys;
    /// Against which signatures expire.
    QDateTime now;
    /// Where the signature of the package is looked for first; the file "PACKAGE.sig" comes second. May be
    /// null.
    const OfferStore *offers = nullptr;
    /// Receives the percentage, from 0 to 100, never twice the same nor a lower one. 100 means that the new
    /// version is in its place on the medium.
    std::function<void(int)> onProgress;
    /// Asked all the time; true ends the installation as long as nothing was put in place.
    std::function<bool()> shouldStop;
    Installation::Hooks hooks;
};

/**
 * Installs a package: nothing that it holds is looked at before its signature, the digest of a private copy,
 * its version and its expiry have been checked, and nothing but that copy is looked at afterwards. If it
 * fails, what was installed is in its place, and nothing outside the private folder of the installation was
 * written.
 */
InstallResult installPackage(const InstallRequest &request);
