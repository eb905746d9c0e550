#include "gui/tasks/http/CHttpResponseParser.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/tasks/http/CTaskHttpOperation.h"
#include "gui/tasks/http/HttpResponse_p.h"
#include "gui/tasks/http/WebUtils.h"

#include <QFile>

using KovGui::logText;

class CHttpResponseParser::Private
{
public:
    int take(const HttpResponse &response, QVariant &result);

    QMap<QString, QVariant> values;
    QString rootTag;
};

int CHttpResponseParser::Private::take(const HttpResponse &response, QVariant &result)
{
    if (response.error == HttpResponse::NotWellFormed)
        KOV_LOG(0, "(!)Error: the response is not well-formed: %s", logText(response.complaint).constData());
    if (response.rootTag.isEmpty())
        return response.error;

    KOV_LOG(3, "Root element: %s, version: %s", logText(response.rootTag).constData(),
            logText(response.version).constData());
    values[QStringLiteral("Version")] = response.version;
    if (response.error == HttpResponse::UnexpectedRootTag) {
        KOV_LOG(0, "Invalid tag: <%s>, <%s> expected", logText(response.rootTag).constData(),
                logText(rootTag).constData());
        return response.error;
    }
    for (const auto &[tag, text] : response.elements) {
        KOV_LOG(3, "Received element %s - %s", logText(tag).constData(),
                logText(WebUtils::withMaskedUrls(text)).constData());
        values[tag] = text;
    }
    bool isNumber = false;
    const int number = values.value(QStringLiteral("Result")).toString().toInt(&isNumber);
    if (isNumber)
        result = number;
    return response.error;
}

CHttpResponseParser::CHttpResponseParser(const QString &filePath)
    : CAbstractFileParser(filePath)
    , d(new Private)
{ }

CHttpResponseParser::~CHttpResponseParser() = default;

QMap<QString, QVariant> CHttpResponseParser::getValues() const
{
    return d->values;
}

QString CHttpResponseParser::rootTagName() const
{
    return d->rootTag;
}

void CHttpResponseParser::setRootTagName(const QString &name)
{
    d->rootTag = name;
}

int CHttpResponseParser::parse(QVariant &result)
{
    QFile file(filePath());
    if (!file.open(QIODevice::ReadOnly)) {
        KOV_LOG(0, "(!)Error: failed to open response %s: %s", logText(filePath()).constData(),
                logText(file.errorString()).constData());
        return HttpResponse::FileMissing;
    }
    d->values.clear();
    if (file.size() > CTaskHttpOperation::MaximumBodySize) {
        KOV_LOG(0, "(!)Error: the response in %s is larger than %lld bytes", logText(filePath()).constData(),
                CTaskHttpOperation::MaximumBodySize);
        return HttpResponse::NotWellFormed;
    }
    return d->take(HttpResponse::parse(file.readAll(), d->rootTag), result);
}
