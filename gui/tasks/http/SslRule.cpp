#include "gui/tasks/http/SslRule_p.h"

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
    // The toolkit lists the entries of one kind from the last one of the subject to the first.
    return !names.isEmpty() && names.first() == makerDomainSuffix();
}

} // namespace SslRule
