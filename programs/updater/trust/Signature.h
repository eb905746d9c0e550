#pragma once

#include "programs/updater/base/VersionNumber.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QVector>

class QIODevice;
class SigningKey;

/**
 * Detached Ed25519 signatures over catalogues and packages: a small text file beside the signed one,
 * "NAME.sig", whose signature covers what the text says, the signed file's digest included.
 * docs/reference/update-signatures.md
 */
namespace Signature {

enum class Role { Catalogue, Package };

/// Longest signature file read, in bytes.
constexpr int maximumFileSize = 4096;
/// Longest name of a product or a line, in characters.
constexpr int maximumNameLength = 128;

/// What the signer said of a file.
struct Statement
{
    Role role = Role::Package;
    QString product;
    /// Of a package; zeros for a catalogue.
    VersionNumber version{};
    /// Of a catalogue: the line of versions that it lists, such as "console/v3" or "console-beta/v3". Empty
    /// for a package.
    QString line;
    /// Grows with every file that is signed with the key for the product, role and line.
    quint64 counter = 0;
    /// UTC, whole seconds; not valid from then on.
    QDateTime expires;
    /// Of the signed file, in bytes.
    qint64 size = 0;
    /// SHA-512 of the signed file, 64 bytes.
    QByteArray digest;
    /// Fingerprint of the key that signed it; write() does not look at it.
    QByteArray key;
};

/// Ed25519, 32 bytes each.
using PublicKey = QByteArray;
/// By which a signature names its key: 16 hexadecimal digits. Says nothing about trust.
QByteArray fingerprint(const PublicKey &key);
/// What a product or a line may be called: printable, at most maximumNameLength characters, no blank at
/// either end.
bool isName(const QString &text);
/// The keys that this program was built with, at most two: the one in use and its successor or predecessor.
/// Empty when it was built with none; then nothing is trusted.
QVector<PublicKey> builtInKeys();

/**
 * Reads a signature file and checks its signature against the keys. Pure; does not look at time or counter,
 * and knows nothing of the signed file but the statement.
 * @return empty, or what is wrong as one sentence without a full stop, which quotes nothing of the file; the
 * statement is left alone then
 */
QString read(const QByteArray &file, const QVector<PublicKey> &keys, Statement *statement);

/// The signature file for a statement. read() refuses it when the statement makes no sense, so a signer reads
/// it back.
QByteArray write(const Statement &statement, const SigningKey &key);

/// Fills in size and digest of what can be read from here to the end. False when it cannot be read.
bool describe(QIODevice *device, Statement *statement);

/// "2027-01-31T23:59:59Z" and nothing else; not valid otherwise.
QDateTime parseTime(const QString &text);
/// The same, backwards.
QString timeText(const QDateTime &time);

} // namespace Signature
