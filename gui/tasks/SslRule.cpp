#include "gui/tasks/SslRule_p.h"

#include <QSslCertificate>

namespace SslRule {

QString makerDomainSuffix()
{
    return QStringLiteral(KOV_MAKER_DOMAIN_SUFFIX);
}

bool isForgivable(const QSslError &error, const QString &host)
{
    if (error.error() != QSslError::HostNameMismatch || !host.endsWith(makerDomainSuffix()))
        return false;
    const QStringList names = error.certificate().subjectInfo(QSslCertificate::CommonName);
    return !names.isEmpty() && names.last() == makerDomainSuffix();
}

} // namespace SslRule
