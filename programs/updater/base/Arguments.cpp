#include "programs/updater/base/Arguments.h"

QString parseArguments(const QStringList &arguments, const QStringList &options, Values *values)
{
    for (int i = 0; i < arguments.size(); ++i) {
        const bool isOption = arguments.at(i).startsWith(QLatin1String("--"));
        const QString name = isOption ? arguments.at(i) : QString();
        if (isOption && (!options.contains(name) || i + 1 == arguments.size()))
            return QStringLiteral("argument %1 is not an option, or lacks its value").arg(i + 1);
        if (values->contains(name))
            return isOption ? QStringLiteral("%1 is given twice").arg(name)
                            : QStringLiteral("argument %1 is one too many").arg(i + 1);
        values->insert(name, isOption ? arguments.at(++i) : arguments.at(i));
    }
    return QString();
}
