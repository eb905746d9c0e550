#include "gui/tasks/http/HttpResponse_p.h"

#include <QXmlStreamReader>

namespace {

/// One walk over the document, without a tree: its depth costs no stack.
class Walk
{
public:
    explicit Walk(HttpResponse &response)
        : m_response(response)
    { }

    void take(const QXmlStreamReader &reader)
    {
        switch (reader.tokenType()) {
        case QXmlStreamReader::StartElement:
            open(reader);
            break;
        case QXmlStreamReader::EndElement:
            --m_depth;
            break;
        case QXmlStreamReader::Characters:
            if (m_depth > 1 && !reader.isWhitespace())
                m_response.elements.last().second += reader.text();
            break;
        default:
            break;
        }
    }

private:
    void open(const QXmlStreamReader &reader)
    {
        const QString tag = reader.qualifiedName().toString();
        if (m_depth == 0) {
            const auto attributes = reader.attributes();
            const QLatin1String version("Version");
            m_response.rootTag = tag;
            m_response.version = attributes.hasAttribute(version) ? attributes.value(version).toString()
                                                                  : QStringLiteral("Unknown");
        } else if (m_depth == 1) {
            m_response.elements.append({tag, QString()});
        }
        ++m_depth;
    }

    HttpResponse &m_response;
    int m_depth = 0;
};

HttpResponse::Error verdict(const HttpResponse &response, const QString &expectedRootTag)
{
    if (!expectedRootTag.isEmpty() && response.rootTag != expectedRootTag)
        return HttpResponse::UnexpectedRootTag;
    for (const auto &[tag, text] : response.elements) {
        if (tag == QLatin1String("Result"))
            return HttpResponse::NoError;
    }
    return HttpResponse::NoResult;
}

} // namespace

HttpResponse HttpResponse::parse(const QByteArray &document, const QString &expectedRootTag)
{
    HttpResponse response;
    if (document.isEmpty())
        return response;

    QXmlStreamReader reader(document);
    // Prefixes are part of the names: the services declare no namespaces.
    reader.setNamespaceProcessing(false);
    Walk walk(response);
    while (!reader.atEnd()) {
        reader.readNext();
        walk.take(reader);
    }
    if (reader.hasError()) {
        HttpResponse broken;
        broken.error = NotWellFormed;
        broken.complaint = QStringLiteral("%1 (line %2)").arg(reader.errorString()).arg(reader.lineNumber());
        return broken;
    }
    response.error = verdict(response, expectedRootTag);
    return response;
}
