#include "programs/updater/publish/SignTool.h"

#include "gui/data_model/documents/CUpdates.h"
#include "programs/updater/base/Arguments.h"
#include "programs/updater/base/ErrorLine.h"
#include "programs/updater/package/PackageFile.h"
#include "programs/updater/trust/Signature.h"
#include "programs/updater/trust/SigningKey.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <algorithm>

namespace {

ExitCode refuseUsage(const QString &fault)
{
    return fail(ExitCode::UsageError, QStringLiteral("%1 (see updater sign --help)").arg(fault));
}

struct SignOrder
{
    QString file;
    QString keyFile;
    QString output;
    Signature::Statement statement;
};

bool readRole(const QString &text, Signature::Role *role)
{
    *role = text == QLatin1String("package") ? Signature::Role::Package : Signature::Role::Catalogue;
    return text == QLatin1String("package") || text == QLatin1String("catalogue");
}

QString makeOrder(const Values &values, const QDateTime &now, SignOrder *order)
{
    const QString version = QStringLiteral("--version");
    const QString line = QStringLiteral("--line");
    const QString counter = QStringLiteral("--counter");
    Signature::Statement &statement = order->statement;
    order->file = values.value(QString());
    order->keyFile = values.value(QStringLiteral("--key"));
    order->output = values.value(QStringLiteral("--output"), order->file + QStringLiteral(".sig"));
    if (order->file.isEmpty() || order->keyFile.isEmpty())
        return QStringLiteral("a file and --key are needed");
    if (!readRole(values.value(QStringLiteral("--role")), &statement.role))
        return QStringLiteral("--role is neither catalogue nor package");
    const bool isPackage = statement.role == Signature::Role::Package;
    if (values.contains(version) != isPackage
        || (isPackage && !parseVersion(values.value(version), &statement.version)))
        return QStringLiteral("--version has four numbers, for a package only");
    statement.line = values.value(line);
    if (values.contains(line) == isPackage || (!isPackage && !Signature::isName(statement.line)))
        return QStringLiteral("--line names the line of versions, such as console/v3, for a catalogue only");
    bool isNumber = true;
    statement.counter = values.contains(counter) ? values.value(counter).toULongLong(&isNumber)
                                                 : quint64(now.toSecsSinceEpoch());
    if (!isNumber)
        return QStringLiteral("--counter is no number");
    statement.product = values.value(QStringLiteral("--product"));
    statement.expires = Signature::parseTime(values.value(QStringLiteral("--expires")));
    if (!statement.expires.isValid() || statement.expires <= now)
        return QStringLiteral("--expires is no time to come of the form 2027-01-31T23:59:59Z");
    return QString();
}

bool isSameFile(const QString &one, const QString &other)
{
    const QString path = QFileInfo(one).canonicalFilePath();
    return !path.isEmpty() && path == QFileInfo(other).canonicalFilePath();
}

/// Takes what a package holds, and keeps nothing.
class Inspection : public PackageTarget
{
public:
    InstallResult begin(const PackageManifest &manifest, const QByteArray &) override
    {
        m_manifest = manifest;
        return InstallResult();
    }
    InstallResult beginFile(const PackageEntry &) override { return InstallResult(); }
    InstallResult write(const char *, qint64) override { return InstallResult(); }
    InstallResult endFile() override { return InstallResult(); }
    InstallResult end() override { return InstallResult(); }

    const PackageManifest &manifest() const { return m_manifest; }

private:
    PackageManifest m_manifest;
};

/// Empty, or why an updater would refuse the package.
QString packageFault(const SignOrder &order)
{
    PackageFile file;
    Inspection inspection;
    InstallResult result = file.open(QFileInfo(order.file).canonicalFilePath());
    if (result.ok())
        result = readPackage(file, inspection);
    if (!result.ok())
        return result.fault;
    const PackageManifest &manifest = inspection.manifest();
    if (manifest.product == order.statement.product && manifest.version == order.statement.version)
        return QString();
    return QStringLiteral("it holds %1 %2").arg(manifest.product, versionText(manifest.version));
}

QString catalogueFault(const SignOrder &order)
{
    QFile file(order.file);
    CUpdates catalogue;
    XmlReport report;
    if (!file.open(QIODevice::ReadOnly) || !catalogue.read(file.readAll(), &report))
        return report.errors.value(0, file.errorString());
    const auto isOurs
        = [&order](const CUpdProduct &product) { return product.productName == order.statement.product; };
    return std::any_of(catalogue.products.begin(), catalogue.products.end(), isOurs)
               ? QString()
               : QStringLiteral("it does not list the product %1").arg(order.statement.product);
}

ExitCode writeSignature(const QString &path, const QByteArray &content)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.commit())
        return fail(ExitCode::OutputError,
                    QStringLiteral("%1 cannot be written: %2").arg(path, file.errorString()));
    return ExitCode(0);
}

} // namespace

ExitCode runSignTool(const QStringList &arguments, const QString &)
{
    Values values;
    SignOrder order;
    QString fault
        = parseArguments(arguments,
                         {QStringLiteral("--key"), QStringLiteral("--role"), QStringLiteral("--product"),
                          QStringLiteral("--version"), QStringLiteral("--line"), QStringLiteral("--counter"),
                          QStringLiteral("--expires"), QStringLiteral("--output")},
                         &values);
    if (fault.isEmpty())
        fault = makeOrder(values, QDateTime::currentDateTimeUtc(), &order);
    if (!fault.isEmpty())
        return refuseUsage(fault);
    if (isSameFile(order.output, order.file) || isSameFile(order.output, order.keyFile))
        return refuseUsage(QStringLiteral("the signature would take the place of the file or of the key"));
    QFile file(order.file);
    if (!file.open(QIODevice::ReadOnly) || !Signature::describe(&file, &order.statement))
        return fail(ExitCode::UsageError,
                    QStringLiteral("%1 cannot be read: %2").arg(order.file, file.errorString()));
    // What the updater would refuse must not be published.
    fault = order.statement.role == Signature::Role::Package ? packageFault(order) : catalogueFault(order);
    if (!fault.isEmpty())
        return fail(ExitCode::UsageError, QStringLiteral("%1 is not signed: %2").arg(order.file, fault));
    SigningKey key;
    fault = key.read(order.keyFile);
    if (!fault.isEmpty())
        return fail(ExitCode::UsageError,
                    QStringLiteral("the key %1 is not usable: %2").arg(order.keyFile, fault));
    const QByteArray signature = Signature::write(order.statement, key);
    Signature::Statement copy;
    fault = Signature::read(signature, {key.publicKey()}, &copy);
    return fault.isEmpty()
               ? writeSignature(order.output, signature)
               : refuseUsage(QStringLiteral("--product is not a name of at most %1 printable characters")
                                 .arg(Signature::maximumNameLength));
}

ExitCode runKeyTool(const QStringList &arguments, const QString &)
{
    if (arguments.size() != 1 || arguments.first().isEmpty())
        return fail(ExitCode::UsageError,
                    QStringLiteral("the name of the key's file is needed (see updater generate-key --help)"));
    SigningKey key;
    const QString fault = key.create(arguments.first());
    if (!fault.isEmpty())
        return fail(ExitCode::OutputError,
                    QStringLiteral("the key %1 cannot be written: %2").arg(arguments.first(), fault));
    return printText(QLatin1String(key.publicKey().toHex()) + QLatin1Char('\n'), ExitCode(0));
}
