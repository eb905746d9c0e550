#include "programs/updater/OfferStore.h"

#include "programs/updater/ErrorLine.h"
#include "programs/updater/PrivateFile.h"
#include "programs/updater/Signature.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QStandardPaths>
#include <QUrl>

namespace {

constexpr int lockTimeoutMilliseconds = 10000;
constexpr qint64 maximumRecordSize = 64 * 1024;

/// A product's name may hold anything that a path must not.
QString recordPath(const QString &folder, const char *kind, const QString &product)
{
    const QByteArray digest = QCryptographicHash::hash(product.toUtf8(), QCryptographicHash::Sha256).toHex();
    return QDir(folder).filePath(QLatin1String(kind) + QLatin1String(digest));
}

QString counterPath(const QString &folder, const QString &product)
{
    return recordPath(folder, "counter-", product);
}

QString offerPath(const QString &folder, const QString &product)
{
    return recordPath(folder, "offer-", product);
}

QByteArray offerHeading(const QString &packageFileName)
{
    return QUrl::toPercentEncoding(packageFileName) + '\n';
}

/// Empty when there is none.
QByteArray readRecord(const QString &path)
{
    QFile file(path);
    if (!file.exists())
        return QByteArray();
    if (!file.open(QIODevice::ReadOnly))
        printError(QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString()));
    return file.isOpen() ? file.read(maximumRecordSize) : QByteArray();
}

quint64 readCounter(const QString &path)
{
    const QByteArray record = readRecord(path);
    bool ok = false;
    const quint64 counter = record.trimmed().toULongLong(&ok);
    if (!ok && !record.isEmpty())
        printError(QStringLiteral("%1 holds no counter").arg(path));
    return counter;
}

bool report(const QString &path, const QString &fault)
{
    if (!fault.isEmpty())
        printError(QStringLiteral("%1 cannot be written: %2").arg(path, fault));
    return fault.isEmpty();
}

/// The turn of one writer.
class Turn
{
public:
    explicit Turn(const QString &folder)
        : m_lock(QDir(folder).filePath(QStringLiteral("lock")))
        , m_isTaken(report(folder, PrivateFile::makeFolder(folder))
                    && (m_lock.tryLock(lockTimeoutMilliseconds)
                        || report(folder, QStringLiteral("another process holds its lock"))))
    { }

    bool isTaken() const { return m_isTaken; }

private:
    QLockFile m_lock;
    const bool m_isTaken;
};

} // namespace

OfferStore::OfferStore(const QString &folder)
    : m_folder(!folder.isEmpty() ? folder
                                 : QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
                                       + QStringLiteral("/tessarine/updater"))
{ }

quint64 OfferStore::catalogueCounter(const QString &product) const
{
    return readCounter(counterPath(m_folder, product));
}

bool OfferStore::setCatalogueCounter(const QString &product, quint64 counter)
{
    const Turn turn(m_folder);
    if (!turn.isTaken())
        return false;
    const QString path = counterPath(m_folder, product);
    // Another check may have seen a newer catalogue meanwhile.
    if (counter <= readCounter(path))
        return true;
    const QByteArray record = QByteArray::number(counter) + '\n';
    return report(path, PrivateFile::replace(path, record.constData(), record.size()));
}

QByteArray OfferStore::packageSignature(const QString &product, const QString &packageFileName) const
{
    const QByteArray record = readRecord(offerPath(m_folder, product));
    const QByteArray heading = offerHeading(packageFileName);
    return record.startsWith(heading) ? record.mid(heading.size()) : QByteArray();
}

bool OfferStore::setOffer(const QString &product, const QString &packageFileName,
                          const QByteArray &signatureFile)
{
    const Turn turn(m_folder);
    if (!turn.isTaken())
        return false;
    const QString path = offerPath(m_folder, product);
    const QByteArray record = offerHeading(packageFileName) + signatureFile;
    return report(path, PrivateFile::replace(path, record.constData(), record.size()));
}
