#pragma once

#include <QByteArray>
#include <QString>
#include <array>

/**
 * A publisher's private key, an Ed25519 seed in a small text file. It stays in one place of memory, out of
 * the swap where the system allows that, and is wiped with the object.
 */
class SigningKey
{
public:
    SigningKey();
    ~SigningKey();
    Q_DISABLE_COPY(SigningKey)

    /// Reads the file, which may be a pipe; one that other users can read or write is refused. @return empty,
    /// or what is wrong as a sentence without a full stop
    QString read(const QString &path);
    /// Makes a new key and a file for it that only the user can read. A file of that name is kept: then it
    /// fails.
    /// @return as of read()
    QString create(const QString &path);

    /// 32 bytes. Only after read() or create() went well, as sign().
    QByteArray publicKey() const;
    /// 64 bytes over the whole message.
    QByteArray sign(const QByteArray &message) const;

private:
    void setSeed(const unsigned char *seed);

    /// As libsodium keeps it: the seed, then the public key.
    std::array<unsigned char, 64> m_secret{};
};
