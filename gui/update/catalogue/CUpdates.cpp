#include "gui/update/catalogue/CUpdates.h"

#include "gui/update/catalogue/XmlModel_p.h"

template <>
const XmlClass<CUpdates> &xmlClass()
{
    static const XmlClass<CUpdates> description = {
        "CUpdates",
        "TessarineUpdates",
        {
            xmlList("Product", &CUpdates::products),
        },
    };
    return description;
}

bool CUpdates::read(const QByteArray &document, XmlReport *report)
{
    return readXmlDocument(document, this, report);
}

QByteArray CUpdates::write() const
{
    return writeXmlDocument(*this);
}
