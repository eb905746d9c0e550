#include "gui/problem_report/browser/PersonalCount_p.h"

#include "gui/problem_report/report/BackgroundWork_p.h"
#include "gui/problem_report/report/PersonalData.h"
#include "gui/problem_report/report/ReportSections.h"

#include <QDir>

BackgroundWork *countPersonalDataIn(const QString &folder, const QStringList &files, QObject *parent)
{
    return new BackgroundWork(
        [folder = QDir(folder), files,
         terms = PersonalData::termsOfUser()](const BackgroundWork::GoOn &goOn) {
            PersonalCount counts;
            for (const QString &name : files) {
                if (ReportSections::typeOfFile(name) == ReportSections::Screenshot)
                    continue;
                const qint64 count = PersonalData::countInFile(folder.filePath(name), terms, goOn);
                if (count > 0)
                    counts.insert(name, count);
            }
            return QVariant::fromValue(counts);
        },
        parent);
}
