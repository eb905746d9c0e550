#pragma once

#include "gui/KovGuiGlobal.h"

#include <QList>
#include <QSslError>
#include <QString>

/// Which errors of a server's certificate are forgiven.
namespace SslRule {

/// The maker's domain with its leading dot.
KOVGUI_EXPORT QString makerDomainSuffix();

/**
 * A host-name mismatch of a certificate that was issued to the maker's whole domain: the last common name of
 * its subject equals makerDomainSuffix() exactly, and the host ends with it. Both case-sensitive.
 *
 * The certificate's chain is not looked at here: an untrusted one is an error of its own in the same list.
 */
KOVGUI_EXPORT bool isForgivable(const QSslError &error, const QString &host);

} // namespace SslRule
