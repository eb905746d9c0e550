#pragma once

#include <QByteArray>
#include <QString>

/**
 * What the updater remembers between its runs, per user and product, in the private folder
 * "$XDG_DATA_HOME/tessarine/updater" (or below ~/.local/share): the highest counter of a catalogue that it has seen,
 * and the signature of the package that the last check offered. Several processes may use it at once. What cannot be
 * read or kept is reported on standard error.
 */
class OfferStore
{
public:
    /// The folder is made when something is written. Empty: the default one.
    explicit OfferStore(const QString &folder = QString());

    /// 0 when none was seen, or the record cannot be read.
    quint64 catalogueCounter(const QString &product) const;
    /// Never lowers it. False when it cannot be kept.
    bool setCatalogueCounter(const QString &product, quint64 counter);

    /// The signature file that belongs to the package that was offered for the product under this file name; empty when
    /// none was.
    QByteArray packageSignature(const QString &product, const QString &packageFileName) const;
    /// Replaces the product's offer. False when it cannot be kept.
    bool setOffer(const QString &product, const QString &packageFileName, const QByteArray &signatureFile);

private:
    QString m_folder;
};
