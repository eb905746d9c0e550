#pragma once

#include "programs/updater/base/VersionNumber.h"

#include <QByteArray>
#include <QString>
#include <QVector>

/// One file of a package.
struct PackageEntry
{
    /// Relative to the version's folder; PackageManifest::isSafePath() holds.
    QByteArray path;
    qint64 size = 0;
    bool isExecutable = false;
    /// SHA-256, 32 bytes.
    QByteArray digest;
};

/**
 * What a package says about itself: the product, its version, and every file. It is the first entry of a
 * package, and lies as "manifest.json" in the folder of an installed version.
 * docs/reference/update-package.md
 */
struct PackageManifest
{
    static constexpr char fileName[] = "manifest.json";
    /// Bounds of what is read and written, in bytes where they are no counts.
    static constexpr qint64 maximumTextSize = 8 * 1024 * 1024;
    static constexpr int maximumFileCount = 50000;
    static constexpr qint64 maximumTotalSize = Q_INT64_C(4) * 1024 * 1024 * 1024;
    static constexpr int maximumPathLength = 512;
    static constexpr int maximumPathDepth = 32;

    QString product;
    VersionNumber version{};
    /// Ascending by the bytes of their paths, no path twice, no path below another file's.
    QVector<PackageEntry> files;

    qint64 totalSize() const;
    /// As the file holds it; the same manifest gives the same bytes.
    QByteArray text() const;

    /**
     * Reads a manifest and checks it: whatever is accepted keeps to the rules and bounds above.
     * @return empty, or what is wrong as one sentence without a full stop; the manifest is left alone then
     */
    static QString parse(const QByteArray &text, PackageManifest *manifest);

    /// What parse() demands of a manifest, for one that was put together; empty, or what is wrong.
    QString fault() const;

    /// Relative, of printable ASCII; every part between the slashes is a safe file name on every system, and
    /// the whole is not the manifest's own name.
    static bool isSafePath(const QByteArray &path);
};
