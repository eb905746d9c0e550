#include "gui/update/catalogue/CUpdProduct.h"

#include "gui/update/catalogue/XmlModel_p.h"

template <>
const XmlClass<CUpdProduct> &xmlClass()
{
    static const XmlClass<CUpdProduct> description = {
        "CUpdProduct",
        "Product",
        {
            xmlValue("ProductName", XmlOccurs::Required, &CUpdProduct::productName),
            xmlValue("UpdateEnabled", XmlOccurs::Required, &CUpdProduct::updateEnabled),
            xmlList("Version", &CUpdProduct::versions),
        },
    };
    return description;
}

bool CUpdProduct::read(const QByteArray &document, XmlReport *report)
{
    return readXmlDocument(document, this, report);
}

QByteArray CUpdProduct::write() const
{
    return writeXmlDocument(*this);
}
