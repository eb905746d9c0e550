// Texts of a report and of its service: finding who the user is, and taking it out, agree; what the service
// answers becomes short lines.
#include "fuzz/FuzzTarget.h"
#include "gui/problem_report/report/PersonalData.h"
#include "gui/problem_report/send/ReportService.h"

KOV_FUZZ_TARGET(input)
{
    static const auto terms = PersonalData::terms(
        QStringLiteral("/home/joe"), {QStringLiteral("joe"), QStringLiteral("J & o")}, QStringLiteral("box"));
    int end = 0;
    for (const PersonalData::Span &span : PersonalData::find(input, terms)) {
        require(span.position >= end && input.mid(span.position, span.length) == terms.at(span.term).text);
        end = span.position + span.length;
    }
    require((end == 0) == (PersonalData::withoutTerms(input, terms) == input));

    const QStringList lines = ReportService::answerLines(input);
    require(lines.size() <= 16);
    for (const QString &line : lines)
        require(line.size() <= 200 && !line.contains(QLatin1Char('\n')));
    require(ReportService::identifierOf(lines).size() <= 64);
    require(!ReportService::isAccepted(lines) || input.trimmed().startsWith("status=OK"));
}
