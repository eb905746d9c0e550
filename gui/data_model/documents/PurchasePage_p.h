#pragma once

#include <QLocale>
#include <QString>

/// The maker's purchase page for the current locale (KOV_PURCHASE_PAGE when the library is configured).
inline QString purchasePage()
{
    return QStringLiteral(KOV_PURCHASE_PAGE).replace(QLatin1String("@LOCALE@"), QLocale().name());
}
