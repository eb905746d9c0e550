// Any bytes as any of the documents: what is taken is well-formed to QXmlStreamReader too, and reading,
// writing and reading give the same object. The first byte chooses the class.
#include "fuzz/FuzzTarget.h"
#include "gui/data_model/documents/CPackedProblemReport.h"
#include "gui/data_model/documents/CUpdaterConfig.h"

#include <QXmlStreamReader>
#include <algorithm>

namespace {

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

KOV_FUZZ_TARGET(bytes)
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
    if (!bytes.isEmpty())
        checks[uchar(bytes.at(0)) % std::size(checks)](bytes.mid(1));
}
