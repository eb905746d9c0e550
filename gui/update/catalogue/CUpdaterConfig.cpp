#include "gui/update/catalogue/CUpdaterConfig.h"

#include "gui/update/catalogue/XmlModel_p.h"

#include <QLocale>

template <>
const XmlClass<CUpdaterConfig> &xmlClass()
{
    static const XmlClass<CUpdaterConfig> description = {
        "CUpdaterConfig",
        "TessarineUpdaterConfig",
        {
            xmlValue("UpdateUrl", XmlOccurs::Required, &CUpdaterConfig::updateUrl),
            xmlValue("DownloadPath", XmlOccurs::Required, &CUpdaterConfig::downloadPath),
            xmlValue("RemindPeriod", XmlOccurs::Required, &CUpdaterConfig::remindPeriod),
            xmlValue("BuyLink", XmlOccurs::Required, &CUpdaterConfig::buyLink),
            xmlChild("AutomaticUpdate", &CUpdaterConfig::automaticUpdate),
            xmlChild("TessarineUpdates", &CUpdaterConfig::installed),
        },
    };
    return description;
}

CUpdaterConfig::CUpdaterConfig()
    : buyLink(QStringLiteral(KOV_PURCHASE_PAGE).replace(QLatin1String("@LOCALE@"), QLocale().name()))
{ }

bool CUpdaterConfig::read(const QByteArray &document, XmlReport *report)
{
    return readXmlDocument(document, this, report);
}

QByteArray CUpdaterConfig::write() const
{
    return writeXmlDocument(*this);
}
