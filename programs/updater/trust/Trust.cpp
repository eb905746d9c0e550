#include "programs/updater/trust/Trust.h"

#include <QBuffer>

namespace {

using Signature::Role;
using Signature::Statement;

TrustVerdict refuse(ExitCode code, const QString &fault)
{
    return {code, fault, false, Statement()};
}

TrustVerdict distrust(const QString &fault)
{
    return refuse(ExitCode::CatalogueNotTrusted, fault);
}

TrustVerdict judge(const QByteArray &signatureFile, Role role, const TrustCriteria &criteria)
{
    Statement statement;
    const QString fault = Signature::read(signatureFile, criteria.keys, &statement);
    if (!fault.isEmpty())
        return distrust(fault);
    if (statement.role != role)
        return distrust(QStringLiteral("its signature is for a file of another kind"));
    if (statement.product != criteria.product)
        return distrust(QStringLiteral("its signature is for another product"));
    if (criteria.now >= statement.expires)
        return refuse(
            ExitCode::CatalogueOutdated,
            QStringLiteral("its signature expired at %1").arg(Signature::timeText(statement.expires)));
    return {ExitCode::UpdateFound, QString(), false, statement};
}

} // namespace

TrustVerdict judgeCatalogue(const QByteArray &catalogue, const QByteArray &signatureFile,
                            const TrustCriteria &criteria)
{
    const TrustVerdict verdict = judge(signatureFile, Role::Catalogue, criteria);
    if (verdict.code != ExitCode::UpdateFound)
        return verdict;
    QBuffer buffer;
    buffer.setData(catalogue);
    Statement actual;
    if (!buffer.open(QIODevice::ReadOnly) || !Signature::describe(&buffer, &actual)
        || actual.size != verdict.statement.size || actual.digest != verdict.statement.digest)
        return {ExitCode::CatalogueNotTrusted, QStringLiteral("it is not the file that was signed"), true,
                Statement()};
    if (verdict.statement.line != criteria.line)
        return distrust(QStringLiteral("it is of the line \"%1\", not of \"%2\"")
                            .arg(verdict.statement.line, criteria.line));
    return verdict;
}

TrustVerdict judgePackage(const QByteArray &signatureFile, const TrustCriteria &criteria,
                          const VersionNumber &version, qint64 size)
{
    const TrustVerdict verdict = judge(signatureFile, Role::Package, criteria);
    if (verdict.code != ExitCode::UpdateFound)
        return verdict;
    if (verdict.statement.version != version)
        return distrust(QStringLiteral("its signature is for another version"));
    if (verdict.statement.size != size)
        return distrust(QStringLiteral("its signature is for a file of another size"));
    return verdict;
}
