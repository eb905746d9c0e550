#pragma once

#include <QByteArray>
#include <QString>

/**
 * What the updater remembers between its runs, per user and product, in the private folder
 * "$XDG_DATA_HOME/tessarine/updater" (or below ~/.local/share): the highest counter of a catalogue that it has seen,
 * and the signature of each package that a check offered, the last 16 of them. Several processes may use it at once. A
 * record that cannot be read is reported on standard error.
 */
class OfferStore
{
public:
    /// The folder is made when something is written. Empty: the default one.
    explicit OfferStore(const QString &folder = QString());

    /// 0 when none was seen, or the record cannot be read.
    quint64 catalogueCounter(const QString &product) const;
    /// Never lowers it. @return empty, or why it cannot be kept, with the path
    QString setCatalogueCounter(const QString &product, quint64 counter);

    /// The signature file that belongs to the package that was offered for the product under this file name; empty when
    /// none was.
    QByteArray packageSignature(const QString &product, const QString &packageFileName) const;
    /// Replaces the offer of this file name only: an older package may be under way to its installation.
    /// @return as of setCatalogueCounter()
    QString setOffer(const QString &product, const QString &packageFileName, const QByteArray &signatureFile);

private:
    QString m_folder;
};
