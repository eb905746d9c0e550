#include "gui/update/launch/UpdateCommand_p.h"

#include "gui/update/launch/CommandLineUtils.h"

namespace {

QStringList urlArguments(const QString &url)
{
    return url.isEmpty() ? QStringList() : QStringList{QStringLiteral("--url"), url};
}

} // namespace

QString UpdateCommand::checkInControlMode(const QString &updaterPath, const QString &url)
{
    const QStringList arguments{QStringLiteral("--update"), QStringLiteral("check"), QStringLiteral("-i"),
                                QStringLiteral("-ud"), QStringLiteral("-nr")};
    return CommandLineUtils::join(updaterPath, arguments + urlArguments(url));
}

QString UpdateCommand::checkInAppMode(const QString &updaterPath, const QString &url, bool background)
{
    QStringList arguments{QStringLiteral("--started-by-gui"), QStringLiteral("--update"),
                          QStringLiteral("check")};
    if (background) {
        arguments << QStringLiteral("--mode") << QStringLiteral("silent")
                  << QStringLiteral("--background-download") << QStringLiteral("--hide-no-updates-message");
    }
    return CommandLineUtils::join(updaterPath, arguments + urlArguments(url));
}

QString UpdateCommand::install(const QString &updaterPath, const QString &packagePath)
{
    return CommandLineUtils::join(updaterPath, {QStringLiteral("--update"), QStringLiteral("install"),
                                                QStringLiteral("--file"), packagePath,
                                                QStringLiteral("--not-check-postinstall")});
}
