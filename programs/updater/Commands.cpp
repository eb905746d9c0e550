#include "programs/updater/Commands.h"

#include "programs/updater/base/ErrorLine.h"
#include "programs/updater/install/TrialTool.h"
#include "programs/updater/publish/PackTool.h"
#include "programs/updater/publish/SignTool.h"

#include <QVector>
#include <algorithm>

namespace {

/// Only its help is asked for here: main() hands over before anything reads the arguments.
ExitCode handedOver(const QStringList &, const QString &)
{
    return ExitCode::InternalError;
}

const QVector<Command> &commands()
{
    static const QVector<Command> all{
        {QLatin1String("run"), QLatin1String("[--root DIR] PROGRAM [ARGUMENT...]"),
         QLatin1String(
             "Start a program of the installation, such as bin/console. "
             "After an update that did not come up twice in a row, go back to the version before first."),
         handedOver},
        {QLatin1String("confirm"), QLatin1String("[--root DIR]"),
         QLatin1String("Tell that the version in use came up; applications do that."), runConfirmTool},
        {QLatin1String("rollback"), QLatin1String("[--root DIR] [--reason TEXT]"),
         QLatin1String("Go back to the version before. The one in use is not offered again."),
         runRollbackTool},
        {QLatin1String("download"), QLatin1String("..."),
         QLatin1String("Download a file: the arguments are those of download_utility."), handedOver},
        {QLatin1String("pack"), QLatin1String("FOLDER --product NAME --version A.B.C.D --output FILE.tar.gz"),
         QLatin1String("Make a package, for those who publish."), runPackTool},
        {QLatin1String("sign"),
         QLatin1String(
             "FILE --key KEYFILE --role catalogue|package --product NAME [--version A.B.C.D] [--line LINE] "
             "[--counter N] --expires YYYY-MM-DDThh:mm:ssZ [--output FILE.sig]"),
         QLatin1String("Sign a package (--version) or a catalogue (--line), for those who publish."),
         runSignTool},
        {QLatin1String("generate-key"), QLatin1String("KEYFILE"),
         QLatin1String("Make a private key and print the public one, for those who publish."), runKeyTool},
    };
    return all;
}

} // namespace

const Command *findCommand(const QString &name)
{
    const auto found = std::find_if(commands().begin(), commands().end(),
                                    [&name](const Command &command) { return name == command.name; });
    return found == commands().end() ? nullptr : &*found;
}

ExitCode runCommand(const Command &command, const QStringList &arguments, const QString &programDirectory)
{
    if (!arguments.contains(QStringLiteral("--help")))
        return command.run(arguments, programDirectory);
    return printText(
        QStringLiteral("Usage: updater %1 %2\n\n%3\n").arg(command.name, command.usage, command.help),
        ExitCode(0));
}

QString commandList()
{
    QString text = QStringLiteral("\nCommands (updater COMMAND --help tells more):\n");
    for (const Command &command : commands())
        text += QStringLiteral("  updater %1 %2\n").arg(command.name, command.usage);
    return text;
}
