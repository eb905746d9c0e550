#pragma once

#include <QByteArray>
#include <QString>

/**
 * What the updater remembers between its runs, per user and product, in the private folder
 * "$XDG_DATA_HOME/tessarine/updater" (or below ~/.local/share): the highest counter of a catalogue that it has seen,
 * and the signature of the package that the last check offered.
 */
class OfferStore
{
public:
    /// The folder is made when something is written. Empty: the default one.
    explicit OfferStore(const QString &folder = QString());

    /// 0 when none was seen, or the record cannot be read (which is reported on standard error).
    quint64 catalogueCounter(const QString &product) const;
    /// False when it cannot be kept.
    bool setCatalogueCounter(const QString &product, quint64 counter);

    /// The signature file that belongs to the package that was offered under this file name; empty when none was.
    QByteArray packageSignature(const QString &packageFileName) const;
    /// Replaces the offer. False when it cannot be kept.
    bool setOffer(const QString &packageFileName, const QByteArray &signatureFile);

private:
    QString m_folder;
};
