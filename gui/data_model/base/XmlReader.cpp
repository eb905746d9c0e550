#include "gui/data_model/base/XmlReader_p.h"

#include "gui/data_model/base/XmlCharacters_p.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool isSpace(char c)
{
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

bool isNameStart(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' || uchar(c) >= 0x80;
}

bool isNamePart(char c)
{
    return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

bool isPlainText(std::string_view text)
{
    for (const char c : text) {
        if (c == '&' || c == '\r' || c == ']')
            return false;
    }
    return true;
}

QString quoted(std::string_view text)
{
    return QString::fromUtf8(text.data(), int(std::min<std::size_t>(text.size(), 64)));
}

} // namespace

XmlReader::XmlReader(const QByteArray &document, const XmlLimits &limits)
    : m_limits(limits)
    , m_at(document.constData())
    , m_end(m_at + document.size())
    , m_counted(m_at)
{
    if (document.size() > limits.size)
        setFault(QStringLiteral("the document is larger than %1 bytes").arg(limits.size));
    else if (startsWith(byteOrderMark))
        m_at += byteOrderMark.size();
}

bool XmlReader::enterRoot()
{
    if (hasFault() || !checkCharacters() || !skipDeclaration())
        return false;
    bool isTag = false;
    while (!isTag) {
        skipSpace();
        if (m_at == m_end || *m_at != '<')
            setFault(QStringLiteral("there is no root element"));
        else if (startsWith("<![CDATA[") || startsWith("</"))
            setFault(QStringLiteral("the document does not begin with an element"));
        if (hasFault() || !readMarkup(&isTag))
            return false;
    }
    return readStartTag();
}

bool XmlReader::enterChild()
{
    if (hasFault())
        return false;
    if (m_isEmptyTag) {
        m_isEmptyTag = false;
        m_open.removeLast();
        return false;
    }
    bool isTag = false;
    while (!isTag) {
        if (!passStrayText() || !readMarkup(&isTag))
            return false;
    }
    if (m_at + 1 < m_end && m_at[1] == '/') {
        readEndTag();
        return false;
    }
    return readStartTag();
}

void XmlReader::finish()
{
    while (!hasFault()) {
        skipSpace();
        if (m_at == m_end)
            return;
        bool isTag = *m_at != '<' || startsWith("<![CDATA[");
        if (isTag || (readMarkup(&isTag) && isTag))
            setFault(QStringLiteral("something follows the root element"));
    }
}

QByteArray XmlReader::decoded(const Attribute &attribute)
{
    QByteArray bytes;
    decode(attribute.value, true, &bytes);
    return bytes;
}

bool XmlReader::takeStrayText()
{
    return std::exchange(m_hasStrayText, false);
}

bool XmlReader::readText(std::string_view *text)
{
    *text = {};
    if (hasFault())
        return false;
    if (m_isEmptyTag) {
        m_isEmptyTag = false;
        m_open.removeLast();
        return true;
    }
    m_buffer.resize(0);
    while (true) {
        const std::string_view run = rest().substr(0, rest().find('<'));
        m_at += run.size();
        // Nearly every value is one run of plain text, which needs no copy.
        if (startsWith("</") && m_buffer.isEmpty() && isPlainText(run)) {
            *text = run;
            return readEndTag();
        }
        if (run.find("]]>") != std::string_view::npos)
            setFault(QStringLiteral("']]>' stands in a text"));
        bool isTag = false;
        if (!decode(run, false, &m_buffer) || hasFault())
            return false;
        if (startsWith("<![CDATA[")) {
            const char *const start = m_at + 9;
            if (!skipPast("]]>", 9))
                return false;
            for (const char *c = start; c < m_at - 3; ++c) {
                if (*c != '\r')
                    m_buffer.append(*c);
                else if (c[1] != '\n')
                    m_buffer.append('\n');
            }
        } else if (!readMarkup(&isTag)) {
            return false;
        }
        if (!isTag)
            continue;
        if (!startsWith("</")) {
            setFault(QStringLiteral("tag '%1' holds an element in the place of a value").arg(quoted(tag())));
            return false;
        }
        *text = {m_buffer.constData(), std::size_t(m_buffer.size())};
        return readEndTag();
    }
}

XmlReader::Source XmlReader::skip()
{
    Source source;
    const char *const start = m_tagStart;
    const int outer = m_open.size() - 1;
    const int elementsBefore = m_elements - 1;
    const bool hadStrayText = m_hasStrayText;
    while (!hasFault() && m_open.size() > outer) {
        source.depth = std::max(source.depth, m_open.size() - outer);
        enterChild();
    }
    m_hasStrayText = hadStrayText;
    source.elements = m_elements - elementsBefore;
    source.bytes = {start, std::size_t(m_at - start)};
    return source;
}

void XmlReader::setFault(const QString &text)
{
    if (!hasFault())
        m_fault = text;
}

int XmlReader::line()
{
    m_lines += int(std::count(m_counted, m_at, '\n'));
    m_counted = m_at;
    return m_lines + 1;
}

bool XmlReader::checkCharacters()
{
    const char *const start = m_at;
    while (m_at < m_end && !hasFault()) {
        const uchar first = uchar(*m_at);
        if (first >= 0x20 && first < 0x80) {
            ++m_at;
            continue;
        }
        uint codePoint = 0;
        const int length = XmlCharacters::decodeUtf8(m_at, m_end, &codePoint);
        if (length == 0)
            setFault(QStringLiteral("the document is not UTF-8 text"));
        else if (!XmlCharacters::isAllowed(codePoint))
            setFault(QStringLiteral("the document holds the character U+%1, which XML does not allow")
                         .arg(codePoint, 4, 16, QLatin1Char('0')));
        m_at += length;
    }
    if (!hasFault())
        m_at = start;
    return !hasFault();
}

bool XmlReader::skipDeclaration()
{
    if (!startsWith("<?xml") || m_end - m_at < 6 || !isSpace(m_at[5]))
        return true;
    const char *const start = m_at + 5;
    if (!skipPast("?>", 5))
        return false;
    std::string_view declaration(start, std::size_t(m_at - 2 - start));
    const std::size_t name = declaration.find("encoding");
    if (name == std::string_view::npos)
        return true;
    const std::size_t quote = declaration.find_first_of("'\"", name);
    const std::size_t end
        = quote == std::string_view::npos ? quote : declaration.find(declaration[quote], quote + 1);
    if (end == std::string_view::npos || end - quote - 1 != 5
        || qstrnicmp(declaration.data() + quote + 1, "UTF-8", 5) != 0)
        setFault(QStringLiteral("the document is not UTF-8 text"));
    return !hasFault();
}

/// At a "<": passes what is neither tag nor text.
bool XmlReader::readMarkup(bool *isTag)
{
    *isTag = false;
    if (startsWith("<!--")) {
        const char *const start = m_at + 4;
        if (!skipPast("-->", 4))
            return false;
        const std::string_view comment(start, std::size_t(m_at - 3 - start));
        if (comment.find("--") != std::string_view::npos || (!comment.empty() && comment.back() == '-'))
            setFault(QStringLiteral("'--' stands in a comment"));
    } else if (startsWith("<?")) {
        m_at += 2;
        const std::string_view target = readName();
        if (target.empty() || (target.size() == 3 && qstrnicmp(target.data(), "xml", 3) == 0))
            setFault(QStringLiteral("a processing instruction has no name of its own"));
        else if (!startsWith("?>") && !skipSpace())
            setFault(QStringLiteral("a processing instruction is broken"));
        else
            return skipPast("?>", 0);
    } else if (startsWith("<!")) {
        setFault(QStringLiteral("a document type declaration is not allowed"));
    } else if (m_at == m_end) {
        setFault(QStringLiteral("the document ends too early"));
    } else {
        *isTag = true;
    }
    return !hasFault();
}

bool XmlReader::readStartTag()
{
    m_tagStart = m_at++;
    const std::string_view name = readName();
    if (name.empty())
        setFault(QStringLiteral("'<' stands without a tag"));
    else if (++m_elements > m_limits.elements)
        setFault(QStringLiteral("more than %1 elements").arg(m_limits.elements));
    else if (m_open.size() >= m_limits.depth)
        setFault(QStringLiteral("elements are nested deeper than %1").arg(m_limits.depth));
    if (hasFault())
        return false;
    m_open.append(name);
    m_attributes.resize(0);
    if (m_at < m_end && *m_at == '>') {
        ++m_at;
        return true;
    }
    return readAttributes();
}

bool XmlReader::readAttributes()
{
    while (true) {
        const bool hadSpace = skipSpace();
        if (startsWith("/>") || startsWith(">")) {
            m_isEmptyTag = *m_at == '/';
            m_at += m_isEmptyTag ? 2 : 1;
            return true;
        }
        if (m_attributes.size() == XmlLimits::attributes)
            setFault(QStringLiteral("an element has more than %1 attributes").arg(XmlLimits::attributes));
        else if (!hadSpace || !readAttribute())
            setFault(QStringLiteral("the tag '%1' is broken").arg(quoted(tag())));
        if (hasFault())
            return false;
    }
}

bool XmlReader::readAttribute()
{
    const char *const start = m_at;
    Attribute attribute;
    attribute.name = readName();
    skipSpace();
    if (attribute.name.empty() || !startsWith("="))
        return false;
    ++m_at;
    skipSpace();
    if (m_at == m_end || (*m_at != '"' && *m_at != '\''))
        return false;
    const std::size_t length = rest().substr(1).find(*m_at);
    if (length == std::string_view::npos)
        return false;
    attribute.value = rest().substr(1, length);
    m_at += length + 2;
    attribute.source = {start, std::size_t(m_at - start)};
    if (attribute.value.find('<') != std::string_view::npos)
        return false;
    for (const Attribute &other : qAsConst(m_attributes)) {
        if (other.name == attribute.name)
            setFault(QStringLiteral("the attribute '%1' stands twice").arg(quoted(attribute.name)));
    }
    m_attributes.append(attribute);
    // Kept as it stands, perhaps, but never broken.
    QByteArray ignored;
    return attribute.value.find('&') == std::string_view::npos || decode(attribute.value, true, &ignored);
}

bool XmlReader::readEndTag()
{
    const std::string_view name = tag();
    m_at += 2;
    if (!startsWith(name) || (m_at + name.size() < m_end && isNamePart(m_at[name.size()]))) {
        setFault(QStringLiteral("the end of tag '%1' is missing").arg(quoted(name)));
        return false;
    }
    m_at += name.size();
    skipSpace();
    if (!startsWith(">")) {
        setFault(QStringLiteral("the end of tag '%1' is broken").arg(quoted(name)));
        return false;
    }
    ++m_at;
    m_open.removeLast();
    return true;
}

bool XmlReader::skipPast(std::string_view end, int prefix)
{
    const std::size_t found = rest().find(end, std::size_t(prefix));
    if (found == std::string_view::npos) {
        setFault(QStringLiteral("the document ends inside a comment, a section or an instruction"));
        return false;
    }
    m_at += found + end.size();
    return true;
}

/// Between the children of an element: moves to the next "<" that is not the start of a section.
bool XmlReader::passStrayText()
{
    while (true) {
        if (!skipSpace() && m_at < m_end && *m_at == '<' && !startsWith("<![CDATA["))
            return true;
        const std::string_view run = rest().substr(0, rest().find('<'));
        if (!run.empty()) {
            QByteArray ignored;
            m_hasStrayText = true;
            if (run.find("]]>") != std::string_view::npos)
                setFault(QStringLiteral("']]>' stands in a text"));
            if (hasFault() || !decode(run, false, &ignored))
                return false;
            m_at += run.size();
        }
        if (m_at == m_end)
            return true;
        if (startsWith("<![CDATA[")) {
            m_hasStrayText = true;
            if (!skipPast("]]>", 9))
                return false;
        }
    }
}

bool XmlReader::decode(std::string_view text, bool isAttribute, QByteArray *bytes)
{
    while (!text.empty()) {
        const std::size_t plain = text.find_first_of(isAttribute ? "&\r\n\t" : "&\r");
        if (plain == std::string_view::npos) {
            bytes->append(text.data(), int(text.size()));
            return true;
        }
        bytes->append(text.data(), int(plain));
        text.remove_prefix(plain);
        std::size_t length = 1;
        if (text.front() == '&') {
            length = text.substr(0, 16).find(';');
            if (length == std::string_view::npos || !decodeReference(text.substr(1, length - 1), bytes)) {
                setFault(QStringLiteral("'%1' is not a character that this document may name")
                             .arg(quoted(text.substr(0, std::min<std::size_t>(length, 16)))));
                return false;
            }
            ++length;
        } else {
            length = text.substr(0, 2) == "\r\n" ? 2 : 1;
            bytes->append(isAttribute ? ' ' : '\n');
        }
        text.remove_prefix(length);
    }
    return true;
}

bool XmlReader::decodeReference(std::string_view reference, QByteArray *bytes)
{
    static constexpr struct
    {
        std::string_view name;
        char character;
    } entities[] = {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto &entity : entities) {
        if (entity.name == reference) {
            bytes->append(entity.character);
            return true;
        }
    }
    const bool isHexadecimal = reference.substr(0, 2) == "#x";
    const std::string_view digits
        = reference.substr(std::min<std::size_t>(isHexadecimal ? 2 : 1, reference.size()));
    if (reference.substr(0, 1) != "#" || digits.empty())
        return false;
    char32_t codePoint = 0;
    for (const char c : digits) {
        const int digit = c >= '0' && c <= '9'                                      ? c - '0'
                          : isHexadecimal && (c | 0x20) >= 'a' && (c | 0x20) <= 'f' ? (c | 0x20) - 'a' + 10
                                                                                    : -1;
        if (digit < 0 || codePoint > 0x10FFFF)
            return false;
        codePoint = codePoint * (isHexadecimal ? 16 : 10) + char32_t(digit);
    }
    if (!XmlCharacters::isAllowed(codePoint))
        return false;
    bytes->append(QString::fromUcs4(&codePoint, 1).toUtf8());
    return true;
}

std::string_view XmlReader::readName()
{
    const char *const start = m_at;
    if (m_at < m_end && isNameStart(*m_at)) {
        while (m_at < m_end && isNamePart(*m_at))
            ++m_at;
    }
    return {start, std::size_t(m_at - start)};
}

bool XmlReader::skipSpace()
{
    const char *const start = m_at;
    while (m_at < m_end && isSpace(*m_at))
        ++m_at;
    return m_at != start;
}

bool XmlReader::startsWith(std::string_view prefix) const
{
    return rest().substr(0, prefix.size()) == prefix;
}
