#include "gui/tasks/http/CTaskHttpOperation.h"

#include "gui/frame/GUI.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/tasks/TaskIds.h"
#include "gui/tasks/http/CAbstractFileParser.h"
#include "gui/tasks/http/HttpManager_p.h"
#include "gui/tasks/http/SslRule_p.h"
#include "gui/tasks/http/WebUtils.h"
#include "gui/tasks/sign_in/CProxyAuthenticator.h"
#include "gui/tasks/sign_in/ProxyAuthUtils.h"

#include <QFileInfo>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QPointer>
#include <QTemporaryFile>
#include <QTimer>

using KovGui::logText;

namespace {

constexpr int defaultTimeout = 60000;
/// A server's error page in the log: enough to see what it is.
constexpr int loggedBodySize = 2048;
const QByteArray acceptEncoding("Accept-Encoding");
const QByteArray identity("identity");

KOV_RESULT resultOf(QNetworkReply::NetworkError error)
{
    switch (error) {
    case QNetworkReply::NoError:
        return KOV_SUCCESS;
    case QNetworkReply::ProxyAuthenticationRequiredError:
        return KOV_ERR_PROXY_AUTHENTICATION_REQUIRED;
    case QNetworkReply::AuthenticationRequiredError:
        return KOV_ERR_SERVER_AUTHENTICATION_REQUIRED;
    default:
        return KOV_ERR_FAILURE;
    }
}

/// What createFile() and a failure may remove: never a folder, a device or a pipe.
bool isRemovable(const QString &path)
{
    const QFileInfo info(path);
    return !path.isEmpty() && (info.isSymLink() || info.isFile());
}

} // namespace

class CTaskHttpOperation::Private
{
public:
    QByteArray maskedUrl() const { return logText(WebUtils::maskedUrl(request.url())); }
    QByteArray masked(const QString &text) const
    {
        return logText(WebUtils::withMaskedUrls(text, request.url()));
    }

    bool openFile();
    bool isReadable(const QNetworkReply &finished) const;
    bool writeBody();
    void logError(const QNetworkReply &finished) const;
    void takeBody(QNetworkReply &growing);
    void runParser();

    HttpManager *manager = nullptr;
    QNetworkRequest request;
    QNetworkAccessManager::Operation operation = QNetworkAccessManager::UnknownOperation;
    QFile *file = nullptr;
    QPointer<CAbstractFileParser> parser;
    ParserOwnershipPolicy policy = KeepParser;
    QTimer *timer = nullptr;
    QPointer<QNetworkReply> pending;
    QPointer<QNetworkReply> reply;
    QByteArray body;
    QByteArray response;
    bool isPlainWanted = false;
    bool isTooLarge = false;
};

bool CTaskHttpOperation::Private::openFile()
{
    // A temporary file is created as a new one for its owner alone. A named one must be new as well: what
    // somebody puts into the place of the removed file, such as a link, is not written to.
    if (qobject_cast<QTemporaryFile *>(file))
        return file->open(QIODevice::ReadWrite);
    return file->open(QIODevice::ReadWrite | QIODevice::NewOnly);
}

bool CTaskHttpOperation::Private::isReadable(const QNetworkReply &finished) const
{
    const QByteArray encoding = finished.rawHeader("Content-Encoding");
    if (!isPlainWanted || encoding.isEmpty() || encoding.compare(identity, Qt::CaseInsensitive) == 0)
        return true;
    KOV_LOG(0, "(!)Error: the response is compressed (%s), which was not asked for. Url: %s",
            logText(encoding).constData(), maskedUrl().constData());
    return false;
}

bool CTaskHttpOperation::Private::writeBody()
{
    if (file->write(response) == response.size() && file->flush())
        return true;
    KOV_LOG(0, "(!)Error: failed to write file %s: %s", logText(file->fileName()).constData(),
            logText(file->errorString()).constData());
    return false;
}

void CTaskHttpOperation::Private::logError(const QNetworkReply &finished) const
{
    KOV_LOG(0, "(!)Http error: %d(%s). Url: %s. Error string: %s", int(finished.error()),
            masked(finished.errorString()).constData(), maskedUrl().constData(),
            masked(QString::fromUtf8(response.left(loggedBodySize))).constData());
}

void CTaskHttpOperation::Private::takeBody(QNetworkReply &growing)
{
    // Closed when it was aborted.
    if (!growing.isOpen())
        return;
    if (isTooLarge)
        return;
    response += growing.readAll();
    if (response.size() <= MaximumBodySize)
        return;
    isTooLarge = true;
    response.clear();
    KOV_LOG(0, "(!)Error: the response is larger than %lld bytes. Url: %s", MaximumBodySize,
            maskedUrl().constData());
    growing.abort();
}

void CTaskHttpOperation::Private::runParser()
{
    parser->parse();
    if (parser && parser->errCode() != 0)
        KOV_LOG(0, "(!)Error: failed to parse file %s. ErrCode: %d", logText(parser->filePath()).constData(),
                parser->errCode());
}

CTaskHttpOperation::CTaskHttpOperation(const QNetworkRequest &request,
                                       QNetworkAccessManager::Operation operation, const QString &filePath,
                                       const QNetworkProxy *proxy, CAbstractFileParser *parser,
                                       ParserOwnershipPolicy policy, const QByteArray &body)
    : CAbstractTask(new CTaskId_HttpOperation(request.url(), operation, filePath))
    , d(new Private)
{
    d->manager = new HttpManager;
    d->manager->setParent(this);
    d->manager->setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
    d->request = request;
    // The toolkit decompresses without a limit: a few megabytes become gigabytes before anybody can look.
    d->isPlainWanted = !request.hasRawHeader(acceptEncoding);
    if (d->isPlainWanted)
        d->request.setRawHeader(acceptEncoding, identity);
    d->operation = operation;
    d->file = new QFile(filePath, this);
    d->parser = parser;
    d->policy = policy;
    d->body = body;
    if (proxy)
        d->manager->setProxy(ProxyAuthUtils::toToolkit(*proxy));
    d->timer = new QTimer(this);
    d->timer->setObjectName(QStringLiteral("operationTimeout"));
    d->timer->setInterval(defaultTimeout);
    d->timer->setSingleShot(true);

    const bool bConnected
        = connect(d->manager, &QNetworkAccessManager::finished, this,
                  &CTaskHttpOperation::onHttpOperationFinished)
          && connect(d->manager, &QNetworkAccessManager::sslErrors, this, &CTaskHttpOperation::onSslErrors)
          && connect(d->timer, &QTimer::timeout, this, &CTaskHttpOperation::onOperationTimeout)
          && connect(CProxyAuthenticator::instance(), &CProxyAuthenticator::waitingForUserInput, this,
                     &CTaskHttpOperation::onWaitingProxyAuthInput);
    if (!bConnected)
        KOV_LOG(0, "ASSERT( %s ) occured in %s:%d [%s]", "bConnected", "CTaskHttpOperation.cpp", __LINE__,
                "CTaskHttpOperation::CTaskHttpOperation");
    CProxyAuthenticator::instance()->addRequestor(d->manager);
    d->manager->challengesAreAnswered();
    KOV_LOG(3, "Complete url: %s", d->maskedUrl().constData());
}

CTaskHttpOperation::~CTaskHttpOperation()
{
    endBeforeDestruction();
    d->manager->disconnect(this);
    d->manager->retire();
}

CAbstractFileParser *CTaskHttpOperation::parser() const
{
    return d->parser;
}

QNetworkReply *CTaskHttpOperation::reply() const
{
    return d->reply;
}

unsigned CTaskHttpOperation::type() const
{
    return GUI::TaskHttpOperation;
}

const QNetworkRequest &CTaskHttpOperation::request() const
{
    return d->request;
}

QNetworkAccessManager *CTaskHttpOperation::networkAccessManager() const
{
    return d->manager;
}

KOV_RESULT CTaskHttpOperation::validateSubTask()
{
    if (d->request.url().isValid())
        return KOV_SUCCESS;
    KOV_LOG(0, "(!)Error: ivalid URL: %s", d->maskedUrl().constData());
    return KOV_ERR_FAILURE;
}

KOV_RESULT CTaskHttpOperation::createFile()
{
    if (isRemovable(d->file->fileName())) {
        d->file->close();
        d->file->remove();
    }
    if (d->file->fileName().isEmpty()) {
        delete d->file;
        d->file = new QTemporaryFile(this);
    }
    if (!d->openFile()) {
        KOV_LOG(0, "(!)Error: failed to open temporary file %s", logText(d->file->fileName()).constData());
        return KOV_ERR_FAILURE;
    }
    if (d->parser && d->parser->filePath().isEmpty())
        d->parser->setFilePath(QFileInfo(d->file->fileName()).absoluteFilePath());
    return KOV_SUCCESS;
}

KOV_RESULT CTaskHttpOperation::executeHttpOperation()
{
    QNetworkReply *posted = postHttpOperationRequest();
    if (!posted) {
        KOV_LOG(0, "Failed to post HTTP operation <%d>", int(d->operation));
        return KOV_ERR_FAILURE;
    }
    setWaitForSubTaskCompletion();
    follow(posted);
    return KOV_SUCCESS;
}

void CTaskHttpOperation::follow(QNetworkReply *posted)
{
    d->pending = posted;
    d->response.clear();
    // Bounds what arrives while this thread is busy. Qt's thread crashes when it hears of a bound while a
    // connection is not yet encrypted, as behind a proxy that asks for a password.
    const auto bound = [posted] { posted->setReadBufferSize(MaximumBodySize); };
    if (posted->url().scheme() == QLatin1String("https"))
        connect(posted, &QNetworkReply::metaDataChanged, posted, bound);
    else
        bound();
    connect(posted, &QNetworkReply::readyRead, this, [this, posted] { d->takeBody(*posted); });
    d->timer->start();
}

QNetworkReply *CTaskHttpOperation::postNextRequest(const QNetworkReply &)
{
    return nullptr;
}

void CTaskHttpOperation::restartTimeLimit()
{
    if (d->timer->isActive())
        d->timer->start();
}

QNetworkReply *CTaskHttpOperation::postHttpOperationRequest()
{
    switch (d->operation) {
    case QNetworkAccessManager::HeadOperation:
        return d->manager->head(d->request);
    case QNetworkAccessManager::GetOperation:
        return d->manager->get(d->request);
    case QNetworkAccessManager::PostOperation:
        return d->manager->post(d->request, d->body);
    default:
        return nullptr;
    }
}

void CTaskHttpOperation::onHttpOperationFinished(QNetworkReply *reply)
{
    if (!reply) {
        KOV_LOG(0, "(!)Error: NetworkReply is invalid");
        return;
    }
    d->reply = reply;
    d->pending = nullptr;
    d->timer->stop();
    d->takeBody(*reply);
    if (QNetworkReply *const next = d->isTooLarge ? nullptr : postNextRequest(*reply)) {
        d->reply = nullptr;
        follow(next);
        return;
    }
    if (d->isTooLarge) {
        subTaskCompleted(KOV_ERR_FAILURE);
        return;
    }
    if (reply->error() != QNetworkReply::NoError) {
        d->logError(*reply);
        subTaskCompleted(resultOf(reply->error()));
        return;
    }
    const bool isWritten = d->isReadable(*reply) && d->writeBody();
    subTaskCompleted(isWritten ? KOV_SUCCESS : KOV_ERR_FAILURE);
}

void CTaskHttpOperation::onSslErrors(QNetworkReply *reply, const QList<QSslError> &errors)
{
    int forgiven = 0;
    for (const QSslError &error : errors) {
        KOV_LOG(0, "(!)SSL error == %s", logText(error.errorString()).constData());
        if (reply && SslRule::isForgivable(error, reply->url().host())) {
            KOV_LOG(0, "Force to ignore this error");
            ++forgiven;
        }
    }
    if (!reply)
        KOV_LOG(0, "(!)Error: NetworkReply is invalid");
    else if (!errors.isEmpty() && forgiven == errors.size())
        reply->ignoreSslErrors(errors);
}

void CTaskHttpOperation::onWaitingProxyAuthInput(bool waiting)
{
    if (waiting)
        d->timer->stop();
    else if (d->pending)
        // Every task is told, also one whose reply is there already.
        d->timer->start();
}

void CTaskHttpOperation::onOperationTimeout()
{
    KOV_LOG(0, "(!)Http error: Internal timeout. Url: %s", d->maskedUrl().constData());
    subTaskCompleted(KOV_ERR_FAILURE);
}

void CTaskHttpOperation::finish(int result)
{
    d->timer->stop();
    if (QNetworkReply *unfinished = std::exchange(d->pending, nullptr)) {
        d->manager->disconnect(this);
        unfinished->disconnect(this);
        // One that waits for the user ends by itself when its question is closed.
        if (!CProxyAuthenticator::instance()->isChallenged(d->manager))
            unfinished->abort();
    }
    CProxyAuthenticator::instance()->removeRequestor(d->manager);

    d->file->close();
    if (KOV_FAILED(result)) {
        if (isRemovable(d->file->fileName()))
            d->file->remove();
    } else if (d->parser) {
        d->runParser();
    }
    if (d->policy == DeleteParser)
        delete d->parser.data();
    CAbstractTask::finish(result);
}
