#include "programs/updater/trust/OfferStore.h"

#include "programs/updater/base/ErrorLine.h"
#include "programs/updater/base/Files.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QStandardPaths>
#include <QUrl>

namespace {

constexpr int lockTimeoutMilliseconds = 10000;
constexpr qint64 maximumRecordSize = 64 * 1024;
/// Of a product: the package that waits to be installed is among the last ones that were offered.
constexpr int maximumOffers = 16;

/// A product's name may hold anything that a path must not.
QString recordPath(const QString &folder, const char *kind, const QString &product)
{
    const QByteArray digest = QCryptographicHash::hash(product.toUtf8(), QCryptographicHash::Sha256).toHex();
    return QDir(folder).filePath(QLatin1String(kind) + QLatin1String(digest));
}

/// A second key starts anew, and lines do not block each other.
QString counterPath(const QString &folder, const Signature::Statement &catalogue)
{
    return recordPath(folder, "counter-",
                      catalogue.product + QLatin1Char('\n') + catalogue.line + QLatin1Char('\n')
                          + QLatin1String(catalogue.key));
}

/// One record a package: a newer offer leaves those before it as they are.
QString offerPath(const QString &folder, const QString &product, const QString &packageFileName)
{
    const QByteArray digest
        = QCryptographicHash::hash(packageFileName.toUtf8(), QCryptographicHash::Sha256).toHex();
    return recordPath(folder, "offer-", product) + QLatin1Char('-') + QLatin1String(digest);
}

void forgetOldOffers(const QString &folder, const QString &product)
{
    const QString names = QFileInfo(recordPath(folder, "offer-", product)).fileName() + QLatin1String("-*");
    QDir records(folder, names, QDir::Time, QDir::Files);
    const QStringList newestFirst = records.entryList();
    for (int i = maximumOffers; i < newestFirst.size(); ++i)
        records.remove(newestFirst.at(i));
}

QByteArray offerHeading(const QString &packageFileName)
{
    return QUrl::toPercentEncoding(packageFileName) + '\n';
}

/// Empty when there is none.
QByteArray readRecord(const QString &path, QString *fault)
{
    QFile file(path);
    if (!file.exists())
        return QByteArray();
    if (!file.open(QIODevice::ReadOnly))
        *fault = QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString());
    return file.isOpen() ? file.read(maximumRecordSize) : QByteArray();
}

quint64 readCounter(const QString &path, QString *fault)
{
    const QByteArray record = readRecord(path, fault);
    bool ok = false;
    const quint64 counter = record.trimmed().toULongLong(&ok);
    if (!ok && QFile::exists(path) && fault->isEmpty())
        *fault = QStringLiteral("%1 is damaged: remove it to begin anew").arg(path);
    return counter;
}

QString cannotWrite(const QString &path, const QString &reason)
{
    return reason.isEmpty() ? reason : QStringLiteral("%1 cannot be written: %2").arg(path, reason);
}

/// The turn of one writer.
class Turn
{
public:
    explicit Turn(const QString &folder)
        : m_lock(QDir(folder).filePath(QStringLiteral("lock")))
        , m_fault(cannotWrite(folder, Files::makePrivateFolder(folder)))
    {
        if (m_fault.isEmpty() && !m_lock.tryLock(lockTimeoutMilliseconds))
            m_fault = cannotWrite(folder, QStringLiteral("its lock cannot be taken"));
    }

    QString fault() const { return m_fault; }

private:
    QLockFile m_lock;
    QString m_fault;
};

} // namespace

OfferStore::OfferStore(const QString &folder)
    : m_folder(!folder.isEmpty() ? folder
                                 : QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
                                       + QStringLiteral("/tessarine/updater"))
{ }

OfferStore::Counted OfferStore::countCatalogue(const Signature::Statement &catalogue)
{
    const Turn turn(m_folder);
    if (!turn.fault().isEmpty())
        return {false, turn.fault()};
    const QString path = counterPath(m_folder, catalogue);
    QString damage;
    const quint64 known = readCounter(path, &damage);
    if (!damage.isEmpty() || catalogue.counter <= known)
        return {catalogue.counter < known, damage};
    const QByteArray record = QByteArray::number(catalogue.counter) + '\n';
    return {false, cannotWrite(path, Files::replacePrivate(path, record.constData(), record.size()))};
}

QByteArray OfferStore::packageSignature(const QString &product, const QString &packageFileName) const
{
    QString fault;
    const QByteArray record = readRecord(offerPath(m_folder, product, packageFileName), &fault);
    if (!fault.isEmpty())
        printError(fault);
    const QByteArray heading = offerHeading(packageFileName);
    return record.startsWith(heading) ? record.mid(heading.size()) : QByteArray();
}

QString OfferStore::setOffer(const QString &product, const QString &packageFileName,
                             const QByteArray &signatureFile)
{
    const Turn turn(m_folder);
    if (!turn.fault().isEmpty())
        return turn.fault();
    const QString path = offerPath(m_folder, product, packageFileName);
    const QByteArray record = offerHeading(packageFileName) + signatureFile;
    const QString fault = cannotWrite(path, Files::replacePrivate(path, record.constData(), record.size()));
    forgetOldOffers(m_folder, product);
    return fault;
}
