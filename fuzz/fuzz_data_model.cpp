// Any bytes as any of the documents: what is taken is well-formed to QXmlStreamReader too, and reading, writing and reading
// give the same object. The first byte chooses the class.
#include "gui/data_model/documents/CPackedProblemReport.h"
#include "gui/data_model/documents/CUpdaterConfig.h"

#include <QXmlStreamReader>
#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// The declaration and names outside ASCII are taken as they come.
bool isComparable(const QByteArray &document)
{
    return !document.startsWith("<?xml")
           && std::all_of(document.cbegin(), document.cend(), [](char c) { return uchar(c) < 0x80; });
}

void requireWellFormed(const QByteArray &document)
{
    QXmlStreamReader reader(document);
    reader.setNamespaceProcessing(false);
    while (!reader.atEnd())
        reader.readNext();
    require(!reader.hasError());
}

template <class Model>
void check(const QByteArray &document)
{
    Model model;
    XmlReport report;
    const bool ok = model.read(document, &report);
    require(ok == report.errors.isEmpty() && report.errors.size() == report.errorPlaces.size());
    if (!ok) {
        require(model == Model());
        return;
    }
    if (isComparable(document))
        requireWellFormed(document);
    const QByteArray written = model.write(&report);
    Model copy;
    require(copy.read(written, &report) && copy == model && copy.write() == written);
    require(copy.differingPaths(model).isEmpty());
    copy.clearPersonalValues();
    require(copy.personalValues().isEmpty() && Model().read(copy.write()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static constexpr void (*checks[])(const QByteArray &) = {check<CPackedProblemReport>,
                                                             check<CAppConfig>,
                                                             check<CVmDirectory>,
                                                             check<CNetConfig>,
                                                             check<CCurrentVm>,
                                                             check<CAdvancedVmInfo>,
                                                             check<CGuestOs>,
                                                             check<CHostInfo>,
                                                             check<CMoreHostInfo>,
                                                             check<CHostStatistics>,
                                                             check<CClientInfo>,
                                                             check<CKeyboardMouseProfiles>,
                                                             check<CUpdates>,
                                                             check<CUpdaterConfig>,
                                                             check<CReportAttachment>};
    if (size > 0)
        checks[data[0] % std::size(checks)](
            QByteArray(reinterpret_cast<const char *>(data + 1), int(size - 1)));
    return 0;
}
