#include "gui/update/catalogue/CUpdate.h"

#include "gui/update/catalogue/XmlModel_p.h"

template <>
const XmlClass<CUpdate> &xmlClass()
{
    static const XmlClass<CUpdate> description = {
        "CUpdate",
        "Update",
        {
            xmlValue("UpdateName", XmlOccurs::Required, &CUpdate::updateName),
            xmlValue("UpdateDescription", XmlOccurs::Required, &CUpdate::updateDescription),
            xmlValue("FilePath", XmlOccurs::Required, &CUpdate::filePath),
            xmlValue("FileSize", XmlOccurs::Required, &CUpdate::fileSize),
            xmlValue("LocaleName", XmlOccurs::Required, &CUpdate::localeName),
            xmlValue("OsType", XmlOccurs::Required, &CUpdate::osType),
            xmlValue("DateTime", XmlOccurs::Required, &CUpdate::dateTime),
            xmlValue("DistributorName", XmlOccurs::Required, &CUpdate::distributorName),
            xmlValue("Chargeable", XmlOccurs::Required, &CUpdate::chargeable),
            xmlValue("Status", XmlOccurs::Required, &CUpdate::status),
            xmlValue("Ancestry", XmlOccurs::Optional, &CUpdate::ancestry),
            xmlValue("CheckSum", XmlOccurs::Optional, &CUpdate::checkSum),
            xmlValue("HotfixSN", XmlOccurs::Optional, &CUpdate::hotfixSN),
            xmlValue("UpdateType", XmlOccurs::Optional, &CUpdate::updateType),
            xmlValue("Uuid", XmlOccurs::Optional, &CUpdate::uuidElement),
        },
        "uuid",
        &CUpdate::uuid,
    };
    return description;
}

bool CUpdate::read(const QByteArray &document, XmlReport *report)
{
    return readXmlDocument(document, this, report);
}

QByteArray CUpdate::write() const
{
    return writeXmlDocument(*this);
}
