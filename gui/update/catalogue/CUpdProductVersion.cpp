#include "gui/update/catalogue/CUpdProductVersion.h"

#include "gui/update/catalogue/XmlModel_p.h"

template <>
const XmlClass<CUpdProductVersion> &xmlClass()
{
    static const XmlClass<CUpdProductVersion> description = {
        "CUpdProductVersion",
        "Version",
        {
            xmlValue("Major", XmlOccurs::Required, &CUpdProductVersion::major),
            xmlValue("Minor", XmlOccurs::Required, &CUpdProductVersion::minor),
            xmlValue("SubMinor", XmlOccurs::Required, &CUpdProductVersion::subMinor),
            xmlValue("SubSubMinor", XmlOccurs::Required, &CUpdProductVersion::subSubMinor),
            xmlValue("StringRepresentation", XmlOccurs::Required, &CUpdProductVersion::stringRepresentation),
            xmlList("Update", &CUpdProductVersion::updates),
        },
    };
    return description;
}

bool CUpdProductVersion::read(const QByteArray &document, XmlReport *report)
{
    return readXmlDocument(document, this, report);
}

QByteArray CUpdProductVersion::write() const
{
    return writeXmlDocument(*this);
}
