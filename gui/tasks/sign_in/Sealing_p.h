#pragma once

#include <QByteArray>
#include <QString>

/// Authenticated encryption (XChaCha20-Poly1305) under a key of 32 bytes: the module "sealing". Any thread.
struct SealingFunctions
{
    /// The nonce and the encrypted text, bound to `place`. Wipes the clear text; never empty.
    QByteArray (*seal)(const unsigned char *key, QByteArray plain, const QByteArray &place);
    /// False for everything that seal() did not make of this key and place.
    bool (*open)(const unsigned char *key, const QByteArray &sealed, const QByteArray &place, QString &plain);
};
