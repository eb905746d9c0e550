#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/update/catalogue/CUpdProduct.h"
#include "gui/update/catalogue/XmlReport.h"

#include <QByteArray>

/**
 * The update catalogue: the products of an update server.
 *
 * Inside the updater configuration: the products that are installed.
 * The element is "TessarineUpdates". A value type.
 */
class KOVGUI_EXPORT CUpdates
{
public:
    /// Reads a whole document (UTF-8, at most 8 MiB) whose root is this element. No I/O; any bytes are safe.
    /// @param report  if given, receives the errors and warnings
    /// @return false on any error; the object is left as it was then
    bool read(const QByteArray &document, XmlReport *report = nullptr);
    /// The whole document as read() takes it.
    QByteArray write() const;

    QVector<CUpdProduct> products;
};
