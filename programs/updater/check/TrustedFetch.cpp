#include "programs/updater/check/TrustedFetch.h"

#include "gui/tasks/download/FileName.h"
#include "programs/updater/base/Address.h"

namespace {

QUrl signatureUrl(const QUrl &url)
{
    const QString path = url.path(QUrl::FullyEncoded);
    QUrl signature = url;
    signature.setPath((path.isEmpty() ? QStringLiteral("/") : path) + QStringLiteral(".sig"),
                      QUrl::StrictMode);
    return signature;
}

FetchResult failure(ExitCode code, const QString &fault)
{
    FetchResult result;
    result.code = code;
    result.fault = fault;
    return result;
}

FetchResult refusal(const TrustVerdict &verdict, const QString &what)
{
    const QString text = verdict.code == ExitCode::CatalogueOutdated
                             ? QStringLiteral("%1 is out of date: %2")
                             : QStringLiteral("%1 is not trusted: %2");
    return failure(verdict.code, text.arg(what, verdict.fault));
}

FetchResult forgetful(const QString &fault)
{
    return failure(ExitCode::InternalError, QStringLiteral("the check cannot be remembered: %1").arg(fault));
}

} // namespace

TrustedFetch::TrustedFetch(const CheckRequest &request, const TrustCriteria &criteria, OfferStore *store)
    : m_request(request)
    , m_criteria(criteria)
    , m_store(store)
    , m_deadline(qint64(request.fetch.timeoutSeconds) * 1000)
{ }

FetchResult TrustedFetch::fetchCatalogue()
{
    bool isOfAnotherFile = false;
    const FetchResult result = judgedCatalogue(&isOfAnotherFile);
    // One of the two may have been replaced between the requests.
    return isOfAnotherFile ? judgedCatalogue(&isOfAnotherFile) : result;
}

FetchResult TrustedFetch::judgedCatalogue(bool *isOfAnotherFile)
{
    const FetchResult fetched = fetchDocument(m_request.fetch, m_deadline);
    const QString what = QStringLiteral("the update catalogue %1").arg(Address::shown(fetched.url));
    if (fetched.code != ExitCode::UpdateFound)
        return failure(fetched.code, QStringLiteral("%1 cannot be fetched: %2").arg(what, fetched.fault));
    const FetchResult signature = fetchSignature(m_request.fetch.url, what);
    if (signature.code != ExitCode::UpdateFound)
        return signature;
    TrustVerdict verdict = judgeCatalogue(fetched.body, signature.body, m_criteria);
    *isOfAnotherFile = verdict.isOfAnotherFile;
    if (verdict.code != ExitCode::UpdateFound)
        return refusal(verdict, what);
    // A check that forgets the counter would take an older catalogue the next time.
    const OfferStore::Counted counted = m_store->countCatalogue(verdict.statement);
    if (counted.isOld) {
        verdict.code = ExitCode::CatalogueOutdated;
        verdict.fault = QStringLiteral("it is older than one seen before");
        return refusal(verdict, what);
    }
    return counted.fault.isEmpty() ? fetched : forgetful(counted.fault);
}

FetchResult TrustedFetch::fetchPackageSignature(const QUrl &package, const ChosenUpdate &chosen)
{
    const QString what = QStringLiteral("the update package %1").arg(Address::shown(package));
    QUrl url = package;
    if (Address::isSameServer(package, m_request.fetch.url))
        url.setUserInfo(m_request.fetch.url.userInfo(QUrl::FullyEncoded), QUrl::StrictMode);
    const FetchResult signature = fetchSignature(url, what);
    if (signature.code != ExitCode::UpdateFound)
        return signature;
    const TrustVerdict verdict
        = judgePackage(signature.body, m_criteria, chosen.version, chosen.update.fileSize);
    if (verdict.code != ExitCode::UpdateFound)
        return refusal(verdict, what);
    // The name under which it will be downloaded.
    const std::string name = FileName::fromEncodedPath(package.path(QUrl::FullyEncoded).toStdString());
    const QString fault = m_store->setOffer(m_criteria.product, QString::fromStdString(name), signature.body);
    return fault.isEmpty() ? signature : forgetful(fault);
}

FetchResult TrustedFetch::fetchSignature(const QUrl &url, const QString &what)
{
    FetchRequest request = m_request.fetch;
    request.url = signatureUrl(url);
    const FetchResult fetched = fetchDocument(request, m_deadline);
    if (fetched.status == 404 || fetched.status == 410)
        return failure(ExitCode::CatalogueNotTrusted,
                       QStringLiteral("%1 is not trusted: it has no signature").arg(what));
    return fetched.code == ExitCode::UpdateFound
               ? fetched
               : failure(
                   fetched.code,
                   QStringLiteral("the signature of %1 cannot be fetched: %2").arg(what, fetched.fault));
}
