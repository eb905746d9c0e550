#include "programs/updater/publish/SignTool.h"

#include "programs/updater/base/ErrorLine.h"
#include "programs/updater/trust/Signature.h"
#include "programs/updater/trust/SigningKey.h"

#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QSaveFile>
#include <cstdio>

namespace {

constexpr QLatin1String signCommand("sign");
constexpr QLatin1String generateCommand("generate-key");

ExitCode refuseUsage(const QString &fault)
{
    return fail(
        ExitCode::UsageError,
        QStringLiteral("%1 (usage: updater sign FILE --key KEYFILE --role catalogue|package --product NAME "
                       "[--version A.B.C.D] [--counter N] --expires YYYY-MM-DDThh:mm:ssZ "
                       "[--output FILE.sig], or updater generate-key KEYFILE)")
            .arg(fault));
}

struct SignOrder
{
    QString file;
    QString keyFile;
    QString output;
    Signature::Statement statement;
};

using Values = QMap<QString, QString>;

/// The file stands under an empty name. @return empty, or what is wrong
QString collect(const QStringList &arguments, Values *values)
{
    const QStringList names{QStringLiteral("--key"),     QStringLiteral("--role"),
                            QStringLiteral("--product"), QStringLiteral("--version"),
                            QStringLiteral("--counter"), QStringLiteral("--expires"),
                            QStringLiteral("--output")};
    for (int i = 0; i < arguments.size(); ++i) {
        const bool isOption = arguments.at(i).startsWith(QLatin1String("--"));
        const QString name = isOption ? arguments.at(i) : QString();
        if (isOption && (!names.contains(name) || i + 1 == arguments.size()))
            return QStringLiteral("argument %1 is not an option, or lacks its value").arg(i + 1);
        if (values->contains(name))
            return isOption ? QStringLiteral("%1 is given twice").arg(name)
                            : QStringLiteral("more than one file is named");
        values->insert(name, isOption ? arguments.at(++i) : arguments.at(i));
    }
    return QString();
}

bool readRole(const QString &text, Signature::Role *role)
{
    *role = text == QLatin1String("package") ? Signature::Role::Package : Signature::Role::Catalogue;
    return text == QLatin1String("package") || text == QLatin1String("catalogue");
}

QString makeOrder(const Values &values, const QDateTime &now, SignOrder *order)
{
    const QString version = QStringLiteral("--version");
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

ExitCode writeSignature(const QString &path, const QByteArray &content)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.commit())
        return fail(ExitCode::OutputError,
                    QStringLiteral("%1 cannot be written: %2").arg(path, file.errorString()));
    return ExitCode(0);
}

ExitCode sign(const QStringList &arguments)
{
    Values values;
    SignOrder order;
    QString fault = collect(arguments, &values);
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
    SigningKey key;
    fault = key.read(order.keyFile);
    if (!fault.isEmpty())
        return fail(ExitCode::UsageError,
                    QStringLiteral("the key %1 is not usable: %2").arg(order.keyFile, fault));
    const QByteArray signature = Signature::write(order.statement, key);
    Signature::Statement copy;
    // What the updater would refuse must not be published.
    fault = Signature::read(signature, {key.publicKey()}, &copy);
    return fault.isEmpty()
               ? writeSignature(order.output, signature)
               : refuseUsage(QStringLiteral("--product is not a name of at most %1 printable characters")
                                 .arg(Signature::maximumProductLength));
}

ExitCode generateKey(const QStringList &arguments)
{
    if (arguments.size() != 1 || arguments.first().isEmpty())
        return refuseUsage(QStringLiteral("the name of the key's file is needed"));
    SigningKey key;
    const QString fault = key.create(arguments.first());
    if (!fault.isEmpty())
        return fail(ExitCode::OutputError,
                    QStringLiteral("the key %1 cannot be written: %2").arg(arguments.first(), fault));
    const bool isPrinted = std::puts(key.publicKey().toHex().constData()) >= 0 && std::fflush(stdout) == 0;
    return isPrinted ? ExitCode(0)
                     : fail(ExitCode::OutputError, QStringLiteral("standard output cannot be written"));
}

} // namespace

bool isSignToolCommand(const QString &name)
{
    return name == signCommand || name == generateCommand;
}

ExitCode runSignTool(const QStringList &arguments)
{
    return arguments.first() == signCommand ? sign(arguments.mid(1)) : generateKey(arguments.mid(1));
}
