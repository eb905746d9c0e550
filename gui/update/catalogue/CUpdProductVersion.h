#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/update/catalogue/CUpdate.h"
#include "gui/update/catalogue/XmlReport.h"

#include <QByteArray>
#include <QString>
#include <QVector>

/**
 * A version of a product, as four numbers and as text, with the updates that bring it.
 * The element is "Version". A value type.
 */
class KOVGUI_EXPORT CUpdProductVersion
{
public:
    /// Reads a whole document (UTF-8, at most 8 MiB) whose root is this element. No I/O; any bytes are safe.
    /// @param report  if given, receives the errors and warnings
    /// @return false on any error; the object is left as it was then
    bool read(const QByteArray &document, XmlReport *report = nullptr);
    /// The whole document as read() takes it.
    QByteArray write() const;

    quint32 major = 0;
    quint32 minor = 0;
    quint32 subMinor = 0;
    quint32 subSubMinor = 0;
    /// For people to read; the numbers count.
    QString stringRepresentation;
    QVector<CUpdate> updates;
};
