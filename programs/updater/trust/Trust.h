#pragma once

#include "programs/updater/base/ExitCode.h"
#include "programs/updater/trust/Signature.h"

/// What is asked of every signature.
struct TrustCriteria
{
    QVector<Signature::PublicKey> keys;
    QString product;
    /// That a catalogue has to be of.
    QString line;
    QDateTime now;
};

struct TrustVerdict
{
    /// UpdateFound stands for a file that is to be trusted; else CatalogueNotTrusted or CatalogueOutdated.
    ExitCode code = ExitCode::CatalogueNotTrusted;
    /// One sentence without a full stop, empty for a file to be trusted.
    QString fault;
    /// The signature is good, but of another file.
    bool isOfAnotherFile = false;
    /// Of a file to be trusted.
    Signature::Statement statement;
};

/// Whether a catalogue is the publisher's, for the product and its line, and still valid. Whether it is older
/// than one that was seen before is the caller's to ask, who knows the key from the statement. Pure.
TrustVerdict judgeCatalogue(const QByteArray &catalogue, const QByteArray &signatureFile,
                            const TrustCriteria &criteria);

/// Whether a signature promises the package that a catalogue offers: of that product, version and size, still
/// valid. The package itself is verified when it is installed. Pure.
TrustVerdict judgePackage(const QByteArray &signatureFile, const TrustCriteria &criteria,
                          const VersionNumber &version, qint64 size);
