#include "gui/update/catalogue/CAutomaticUpdate.h"

#include "gui/update/catalogue/XmlModel_p.h"

template <>
const XmlClass<CAutomaticUpdate> &xmlClass()
{
    static const XmlClass<CAutomaticUpdate> description = {
        "CAutomaticUpdate",
        "AutomaticUpdate",
        {
            xmlValue("UpdateEnabled", XmlOccurs::Required, &CAutomaticUpdate::updateEnabled),
            xmlValue("UpdatePeriod", XmlOccurs::Required, &CAutomaticUpdate::updatePeriod),
            xmlValue("DownloadEnabled", XmlOccurs::Required, &CAutomaticUpdate::downloadEnabled),
            xmlValue("InstallEnabled", XmlOccurs::Required, &CAutomaticUpdate::installEnabled),
            xmlValue("NotifyUser", XmlOccurs::Required, &CAutomaticUpdate::notifyUser),
        },
    };
    return description;
}

bool CAutomaticUpdate::read(const QByteArray &document, XmlReport *report)
{
    return readXmlDocument(document, this, report);
}

QByteArray CAutomaticUpdate::write() const
{
    return writeXmlDocument(*this);
}
