#pragma once

#include <QByteArray>
#include <QString>

/**
 * What a document must look like before an XML parser sees it. It keeps a hostile document from costing more
 * than one pass over its bytes: no document type declaration (so no entities of its own), UTF-8 only, and the
 * limits below.
 */
namespace XmlGate {

/// Bytes of a whole document.
constexpr int maximumSize = 8 * 1024 * 1024;
/// Characters between "<" and ">" of one tag. Parsers compare the attributes of a tag pairwise.
constexpr int maximumTagLength = 1024;
/// Elements open at once.
constexpr int maximumDepth = 16;
constexpr int maximumElements = 200000;

/// Checks the document and decodes it.
/// @param text  receives the document; left alone on failure
/// @return empty if the document may be parsed, otherwise the reason why not, without a full stop
QString admit(const QByteArray &document, QString *text);

} // namespace XmlGate
