#include "tests/support/SampleSignature.h"

#include "gui/data_model/documents/CUpdates.h"
#include "programs/updater/trust/SigningKey.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

Signature::Statement sampleStatement(Signature::Role role)
{
    Signature::Statement statement;
    statement.role = role;
    statement.product = QStringLiteral("Tessarine Console");
    if (role == Signature::Role::Package)
        statement.version = {3, 1, 5, 31502};
    else
        statement.line = QStringLiteral("console/v3");
    statement.counter = 1;
    statement.expires = QDateTime(QDate(2999, 12, 31), QTime(0, 0), Qt::UTC);
    statement.digest = QByteArray(64, '\0');
    return statement;
}

bool signSample(const QString &path, Signature::Statement statement, const QString &key)
{
    const QTemporaryDir folder;
    SigningKey signer;
    const QString fault = key == QLatin1String("unknown")
                              ? signer.create(folder.filePath(key))
                              : signer.read(QStringLiteral(KOV_SAMPLE_KEYS "/%1.key").arg(key));
    QFile file(path);
    if (file.exists() && (!file.open(QIODevice::ReadOnly) || !Signature::describe(&file, &statement)))
        return false;
    QFile signature(path + QStringLiteral(".sig"));
    const QByteArray text = Signature::write(statement, signer);
    return fault.isEmpty() && signature.open(QIODevice::WriteOnly) && signature.write(text) == text.size();
}

QByteArray sampleCatalogue(const VersionNumber &number, const QString &filePath, const QString &description)
{
    CUpdate update;
    update.updateName = QStringLiteral("N");
    update.updateDescription = description;
    update.filePath = filePath;
    update.fileSize = 15360;
    update.localeName = update.osType = QStringLiteral("any");
    update.dateTime = QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
    update.status = QStringLiteral("released");
    CUpdProductVersion version;
    version.major = number[0];
    version.minor = number[1];
    version.subMinor = number[2];
    version.subSubMinor = number[3];
    version.updates = {update};
    CUpdProduct product;
    product.productName = QStringLiteral("Tessarine Console");
    product.updateEnabled = true;
    product.versions = {version};
    CUpdates catalogue;
    catalogue.products = {product};
    return catalogue.write();
}

bool writeSampleSite(const QString &folder, quint32 build, const QString &description)
{
    const QString directory = folder + QStringLiteral("/console/v3/tessarine/");
    const QString package = QStringLiteral("Setup-3.1.4.31302.run");
    QFile file(directory + QStringLiteral("tessarine_updates.xml"));
    const QByteArray catalogue = sampleCatalogue({3, 1, 4, build}, package, description);
    if (!QDir().mkpath(directory) || !file.open(QFile::WriteOnly) || file.write(catalogue) < 0)
        return false;
    file.close();
    Signature::Statement statement = sampleStatement(Signature::Role::Package);
    statement.version = {3, 1, 4, 31302};
    statement.size = 15360;
    return signSample(file.fileName(), sampleStatement(Signature::Role::Catalogue))
           && signSample(directory + package, statement);
}
