#include "gui/problem_report/dialog/SupportPage_p.h"

#include <QLocale>

QUrl supportOptionsPage()
{
    QString address = QStringLiteral(KOV_SUPPORT_OPTIONS_PAGE);
    return QUrl(address.replace(QLatin1String("@LOCALE@"), QLocale().name()), QUrl::StrictMode);
}
