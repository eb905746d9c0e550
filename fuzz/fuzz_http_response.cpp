#include "gui/tasks/http/HttpResponse_p.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// A web service's response. Whatever it is, the error says what the other members hold.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray document(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const HttpResponse any = HttpResponse::parse(document, QString());
    const bool isRead = !any.rootTag.isEmpty();
    if (isRead != any.complaint.isEmpty() && size > 0)
        std::abort();
    if (!isRead && (!any.elements.isEmpty() || any.error == HttpResponse::NoError))
        std::abort();
    if (isRead
        && HttpResponse::parse(document, any.rootTag + QLatin1Char('x')).error
               != HttpResponse::UnexpectedRootTag)
        std::abort();
    return 0;
}
