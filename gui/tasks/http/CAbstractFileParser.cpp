#include "gui/tasks/http/CAbstractFileParser.h"

class CAbstractFileParser::Private
{
public:
    QString filePath;
    QVariant data;
    int errCode = 0;
};

CAbstractFileParser::CAbstractFileParser(const QString &filePath)
    : d(new Private)
{
    d->filePath = filePath;
}

CAbstractFileParser::~CAbstractFileParser() = default;

QString CAbstractFileParser::filePath() const
{
    return d->filePath;
}

void CAbstractFileParser::setFilePath(const QString &filePath)
{
    d->filePath = filePath;
}

QVariant CAbstractFileParser::data() const
{
    return d->data;
}

int CAbstractFileParser::errCode() const
{
    return d->errCode;
}

QVariant CAbstractFileParser::parse()
{
    d->data = QVariant();
    d->errCode = parse(d->data);
    return d->data;
}
