// A web service's response: whatever it is, the error says what the other members hold.
#include "fuzz/FuzzTarget.h"
#include "gui/tasks/http/HttpResponse_p.h"

KOV_FUZZ_TARGET(document)
{
    const HttpResponse any = HttpResponse::parse(document, QString());
    const bool isRead = !any.rootTag.isEmpty();
    require(document.isEmpty() || isRead == any.complaint.isEmpty());
    require(isRead || (any.elements.isEmpty() && any.error != HttpResponse::NoError));
    require(!isRead
            || HttpResponse::parse(document, any.rootTag + QLatin1Char('x')).error
                   == HttpResponse::UnexpectedRootTag);
}
