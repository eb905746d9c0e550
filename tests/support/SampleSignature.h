#pragma once

#include "programs/updater/trust/Signature.h"

/// Of the role, for Tessarine Console 3.1.5-31502, valid for the life of the tests.
Signature::Statement sampleStatement(Signature::Role role);

/// Writes path + ".sig" with the sample key of that name, or with a fresh key that nobody knows ("unknown").
/// A file that is there gives the statement its size and digest; without one the statement's size counts.
/// @return false when something cannot be read or written
bool signSample(const QString &path, Signature::Statement statement,
                const QString &key = QStringLiteral("first"));

/// The catalogue of Tessarine Console with one released update, of 15360 bytes.
QByteArray sampleCatalogue(const VersionNumber &version, const QString &filePath, const QString &description);

/// A signed catalogue of Tessarine Console at an update site, in the folder that the console's checks ask
/// for, with one released update whose package (Setup-3.1.4.31302.run) is signed, too, but not there.
/// @param build  of the update, a version 3.1.4
/// @return false when something cannot be written
bool writeSampleSite(const QString &folder, quint32 build, const QString &description);
