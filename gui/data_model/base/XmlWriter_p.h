#pragma once

#include "gui/data_model/base/XmlLimits.h"

#include <QByteArray>
#include <QString>

/**
 * Writes XML 1.0 in UTF-8, a line a tag and four blanks a level, and holds the limits that a reader of the
 * document has. After the first fault the calls do nothing.
 */
class XmlWriter
{
public:
    explicit XmlWriter(const XmlLimits &limits);

    /// Attributes follow, then children, then the end.
    void startElement(QLatin1String tag);
    /// The value must hold what XML allows.
    void attribute(QLatin1String name, const QString &value);
    /// As it stands: name="value".
    void attributeSource(const QByteArray &source);
    /// The only content of its element, on the same line.
    void text(const QByteArray &utf8);
    /// A child that is written already.
    void child(const QByteArray &source, int elements, int depth);
    void endElement(QLatin1String tag);

    /// Empty if all went well.
    QString fault() const { return m_fault; }
    QByteArray take();

private:
    void openTag();
    void newLine();
    void appendEscaped(const QByteArray &utf8, bool isAttribute);
    void check(int depth);

    const XmlLimits m_limits;
    QByteArray m_document;
    int m_depth = 0;
    int m_elements = 0;
    int m_attributes = 0;
    bool m_isTagOpen = false;
    bool m_isTextLast = false;
    QString m_fault;
};
