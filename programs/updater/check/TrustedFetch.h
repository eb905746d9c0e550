#pragma once

#include "programs/updater/check/CheckRequest.h"
#include "programs/updater/trust/OfferStore.h"
#include "programs/updater/trust/Trust.h"

#include <QDeadlineTimer>

/**
 * Fetches for one check, within its time, what a publisher signed, and gives only that away. The signature of
 * an address is fetched from the same address with ".sig" behind the path, by the same rules.
 */
class TrustedFetch
{
public:
    /// @param request   has to outlive the object, as the store
    /// @param criteria  for catalogue and package alike
    TrustedFetch(const CheckRequest &request, const TrustCriteria &criteria, OfferStore *store);

    /// The catalogue, its counter remembered. A fault is a whole sentence that names the address.
    FetchResult fetchCatalogue();
    /// The package's signature file, remembered for its installation. A fault as above.
    FetchResult fetchPackageSignature(const QUrl &package, const ChosenUpdate &chosen);

private:
    FetchResult judgedCatalogue(bool *isOfAnotherFile);
    FetchResult fetchSignature(const QUrl &url, const QString &what);

    const CheckRequest &m_request;
    const TrustCriteria m_criteria;
    OfferStore *const m_store;
    const QDeadlineTimer m_deadline;
};
