#include "gui/tasks/location/CIpGeoLocator.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/tasks/http/CHttpResponseParser.h"
#include "gui/tasks/http/CTaskSendHttpRequest.h"

#include <QCoreApplication>
#include <QLocale>
#include <QPointer>

using KovGui::logText;

namespace {

CIpGeoLocator::LocationError errorOf(int result)
{
    switch (result) {
    case 0:
        return CIpGeoLocator::NoError;
    case -1:
        return CIpGeoLocator::ServerError;
    case -2:
        return CIpGeoLocator::InvalidParameterError;
    case -3:
        return CIpGeoLocator::InvalidDebugValueError;
    default:
        return CIpGeoLocator::UnknownError;
    }
}

const char *textOf(CIpGeoLocator::LocationError error)
{
    switch (error) {
    case CIpGeoLocator::NoError:
        return "No error";
    case CIpGeoLocator::ServerError:
        return "Server error";
    case CIpGeoLocator::InvalidParameterError:
        return "Invalid parameter";
    case CIpGeoLocator::InvalidDebugValueError:
        return "Invalid debug value";
    case CIpGeoLocator::UnknownError:
        break;
    }
    return "Unknown error";
}

} // namespace

class CIpGeoLocator::Private
{
public:
    LocationError take(const CTaskSendHttpRequest &finishedRequest);

    QString url = QStringLiteral(KOV_GEOLOCATION_URL);
    QPointer<CTaskSendHttpRequest> request;
    QMap<QString, QVariant> values;
    LocationState state = NotLocated;
    LocationError error = NoError;
};

CIpGeoLocator::LocationError CIpGeoLocator::Private::take(const CTaskSendHttpRequest &finishedRequest)
{
    if (KOV_FAILED(finishedRequest.getResult())) {
        KOV_LOG(0, "IP Geolocation request failed with code: %d", finishedRequest.getResult());
        return UnknownError;
    }
    const auto *parser = qobject_cast<CHttpResponseParser *>(finishedRequest.parser());
    // A page that is no answer has no result, which would read as 0, a success.
    const bool isAnswer = parser && parser->errCode() == 0 && parser->data().isValid();
    const LocationError found = isAnswer ? errorOf(parser->data().toInt()) : UnknownError;
    if (isAnswer)
        values = parser->getValues();
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        KOV_LOG(2, "%s : %s", logText(it.key()).constData(),
                logText(WebUtils::withMaskedUrls(it.value().toString())).constData());
    if (found != NoError)
        KOV_LOG(0, "IP Geolocation failed with error: %s", textOf(found));
    return found;
}

CIpGeoLocator::CIpGeoLocator(QObject *parent)
    : QObject(parent)
    , d(new Private)
{ }

CIpGeoLocator::~CIpGeoLocator()
{
    if (d->request)
        d->request->disconnect(this);
}

CIpGeoLocator *CIpGeoLocator::instance()
{
    static QPointer<CIpGeoLocator> locator;
    if (!locator)
        locator = new CIpGeoLocator(QCoreApplication::instance());
    return locator;
}

void CIpGeoLocator::setUrl(const QString &url)
{
    d->url = url;
}

QString CIpGeoLocator::url() const
{
    return d->url;
}

CIpGeoLocator::LocationState CIpGeoLocator::state() const
{
    return d->state;
}

CIpGeoLocator::LocationError CIpGeoLocator::error() const
{
    return d->error;
}

QString CIpGeoLocator::countryCode() const
{
    return d->values.value(QStringLiteral("Country")).toString();
}

QString CIpGeoLocator::regionCode() const
{
    return d->values.value(QStringLiteral("Subdivision")).toString();
}

void CIpGeoLocator::locate()
{
    if (d->url.isEmpty()) {
        KOV_LOG(0, "Empty URL");
        return;
    }
    if (d->request) {
        d->request->disconnect(this);
        delete d->request.data();
    }
    d->values.clear();
    d->error = NoError;
    d->state = Locating;

    auto *parser = new CHttpResponseParser;
    d->request = new CTaskSendHttpRequest(d->url, WebUtils::productInfo(QLocale().name()), parser,
                                          QNetworkAccessManager::GetOperation, QByteArray());
    d->request->setParent(this);
    parser->setParent(d->request);
    connect(d->request, &CAbstractTask::taskFinished, this, &CIpGeoLocator::onResponseReceived);
    d->request->execute();
}

void CIpGeoLocator::onResponseReceived()
{
    d->error = d->request ? d->take(*d->request) : UnknownError;
    d->state = d->error == NoError ? Located : LocationFailed;
    Q_EMIT finished();
}
