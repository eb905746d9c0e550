#include "gui/tasks/progress/FormatUtils.h"

#include <QCoreApplication>
#include <QLocale>

namespace {

enum Unit { Days, Hours, Minutes, Seconds };

QString translated(const char *text, int count = -1)
{
    return QCoreApplication::translate("FormatUtils", text, nullptr, count);
}

QString shortUnit(Unit unit)
{
    switch (unit) {
    case Days:
        return translated(QT_TRANSLATE_NOOP("FormatUtils", "%1 d"));
    case Hours:
        return translated(QT_TRANSLATE_NOOP("FormatUtils", "%1 h"));
    case Minutes:
        return translated(QT_TRANSLATE_NOOP("FormatUtils", "%1 min"));
    case Seconds:
        break;
    }
    return translated(QT_TRANSLATE_NOOP("FormatUtils", "%1 s"));
}

/// One has a text of its own, so that English needs no translation file for its plurals.
QString longUnit(Unit unit, qint64 count)
{
    const int n = int(qMin<qint64>(count, INT_MAX));
    switch (unit) {
    case Days:
        return n == 1 ? translated(QT_TRANSLATE_NOOP("FormatUtils", "1 day"))
                      : translated(QT_TRANSLATE_N_NOOP("FormatUtils", "%Ln days"), n);
    case Hours:
        return n == 1 ? translated(QT_TRANSLATE_NOOP("FormatUtils", "1 hour"))
                      : translated(QT_TRANSLATE_N_NOOP("FormatUtils", "%Ln hours"), n);
    case Minutes:
        return n == 1 ? translated(QT_TRANSLATE_NOOP("FormatUtils", "1 minute"))
                      : translated(QT_TRANSLATE_N_NOOP("FormatUtils", "%Ln minutes"), n);
    case Seconds:
        break;
    }
    return n == 1 ? translated(QT_TRANSLATE_NOOP("FormatUtils", "1 second"))
                  : translated(QT_TRANSLATE_N_NOOP("FormatUtils", "%Ln seconds"), n);
}

} // namespace

namespace FormatUtils {

QString dataSize(qint64 bytes)
{
    return QLocale().formattedDataSize(qMax<qint64>(0, bytes), 1, QLocale::DataSizeTraditionalFormat);
}

QString duration(qint64 seconds, DurationForm form)
{
    const qint64 rest = qMax<qint64>(0, seconds);
    const qint64 counts[] = {rest / 86400, rest / 3600 % 24, rest / 60 % 60, rest % 60};
    const auto text = [&counts, form](int unit) {
        return form == LongForm ? longUnit(Unit(unit), counts[unit])
                                : shortUnit(Unit(unit)).arg(QLocale().toString(counts[unit]));
    };
    int first = Days;
    while (first < Seconds && counts[first] == 0)
        ++first;
    if (first == Seconds || counts[first + 1] == 0)
        return text(first);
    return QCoreApplication::translate("FormatUtils", "%1 %2", "two parts of a duration, such as 5 min 3 s")
        .arg(text(first), text(first + 1));
}

} // namespace FormatUtils
