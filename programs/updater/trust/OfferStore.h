#pragma once

#include "programs/updater/trust/Signature.h"

#include <QByteArray>
#include <QString>

/**
 * What the updater remembers between its runs, per user and product, in the private folder
 * "$XDG_DATA_HOME/tessarine/updater" (or below ~/.local/share): the highest counter of a catalogue that it
 * has seen, for each line and key, and the signature of each package that a check offered, the last 16 of
 * them. Several processes may use it at once. A record of an offer that cannot be read is reported on
 * standard error.
 */
class OfferStore
{
public:
    /// The folder is made when something is written. Empty: the default one.
    explicit OfferStore(const QString &folder = QString());

    /// Takes over the counter of a genuine catalogue; never lowers it.
    struct Counted
    {
        /// The catalogue is older than one that was seen before.
        bool isOld = false;
        /// Empty, or why the counter is not known or cannot be kept, with the path and what to do about it.
        QString fault;
    };
    Counted countCatalogue(const Signature::Statement &catalogue);

    /// The signature file that belongs to the package that was offered for the product under this file name;
    /// empty when none was.
    QByteArray packageSignature(const QString &product, const QString &packageFileName) const;
    /// Replaces the offer of this file name only: an older package may be under way to its installation.
    /// @return empty, or why it cannot be kept, with the path
    QString setOffer(const QString &product, const QString &packageFileName, const QByteArray &signatureFile);

private:
    QString m_folder;
};
