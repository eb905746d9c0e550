#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/update/catalogue/CUpdProductVersion.h"
#include "gui/update/catalogue/XmlReport.h"

#include <QByteArray>
#include <QString>

/**
 * A product with its versions.
 * The element is "Product". A value type.
 */
class KOVGUI_EXPORT CUpdProduct
{
public:
    /// Reads a whole document (UTF-8, at most 8 MiB) whose root is this element. No I/O; any bytes are safe.
    /// @param report  if given, receives the errors and warnings
    /// @return false on any error; the object is left as it was then
    bool read(const QByteArray &document, XmlReport *report = nullptr);
    /// The whole document as read() takes it.
    QByteArray write() const;

    /// Identifies the product; compared as it stands.
    QString productName;
    /// False: no update of this product is on offer.
    bool updateEnabled = false;
    QVector<CUpdProductVersion> versions;
};
