#pragma once

#include "programs/updater/install/Installer.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"

#include <archive_entry.h>

/// Contents of a folder by path, "x " before those that can be run and "- " before the others.
using Tree = QMap<QString, QByteArray>;

struct Entry
{
    QByteArray path;
    QByteArray content;
    int type = AE_IFREG;
    int mode = 0644;
    QByteArray symbolicLink = QByteArray();
    QByteArray hardLink = QByteArray();
};

/// A package before it is written: rows of a table spoil it.
struct Draft
{
    PackageManifest manifest;
    QVector<Entry> entries;
    /// Instead of the manifest's own text.
    QByteArray manifestText;
    bool hasManifest = true;
};

constexpr VersionNumber oldVersion{3, 1, 4, 31301};
constexpr VersionNumber newVersion{3, 1, 5, 31502};

Draft draftOf(const VersionNumber &version, const QVector<Entry> &entries);
Draft oldDraft();
Draft newDraft();
QByteArray packageOf(const Draft &draft);

struct Outcome
{
    int exitCode = -1;
    QByteArray output;
    QByteArray errors;
};

/// The program with nothing to read; an exit code of -1 when it does not end by itself.
Outcome run(const QString &program, const QStringList &arguments);
/// The shell's exit code.
int shell(const QString &command, const QString &folder);
/// With the folders above it.
void put(const QString &path, const QByteArray &content);
void writeFiles(const QString &folder, const Draft &draft);
/// What tar makes of a package.
Tree treeOf(const Draft &draft);
Tree treeOf(const QString &folder);

/// An installation of the old version and a package of the new one, in a folder of their own.
class InstallerFixture
{
public:
    InstallerFixture();

    void makeSite(const QString &root);
    void writePackage(const QByteArray &package, Signature::Statement statement,
                      const QString &key = "first");
    InstallRequest request() const;
    QString in(const char *path) const { return root + '/' + path; }
    QStringList own() const;
    /// The old version is in use as if nothing had happened, or the new one with all that belongs to it.
    void checkRecovered() const;

    QTemporaryDir dir;
    QString root;
    QString package;
};
