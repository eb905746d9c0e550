#include "programs/updater/install/TrialTool.h"

#include "programs/updater/base/Arguments.h"
#include "programs/updater/base/ErrorLine.h"
#include "programs/updater/base/Files.h"
#include "programs/updater/install/Installation.h"

#include <QDir>
#include <QFileInfo>

namespace {

QString rootOf(const Values &values, const QString &programDirectory)
{
    const QString given = values.value(QStringLiteral("--root"));
    return given.isEmpty() ? Installation::find(programDirectory) : given;
}

/// Of a program that is named by its path in the file system. Empty for one that lies in no installation.
QByteArray pathInVersion(const QString &program, QString *root)
{
    const QFileInfo file(program);
    *root = Installation::find(file.path());
    if (root->isEmpty())
        return QByteArray();
    const QString folder = QDir(*root).relativeFilePath(file.dir().canonicalPath());
    return Files::encoded((folder + QLatin1Char('/') + file.fileName()).section(QLatin1Char('/'), 1));
}

ExitCode result(const InstallResult &result)
{
    return result.ok() ? result.code : fail(result.code, result.fault);
}

/// Takes the arguments apart and finds the installation.
InstallResult findRoot(const QStringList &arguments, const QStringList &options,
                       const QString &programDirectory, Values *values, QString *root)
{
    const QString fault = parseArguments(arguments, options, values);
    if (!fault.isEmpty() || values->contains(QString()))
        return {ExitCode::UsageError,
                fault.isEmpty() ? QStringLiteral("there is one argument too many") : fault};
    *root = rootOf(*values, programDirectory);
    return root->isEmpty()
               ? InstallResult{ExitCode::NoInstallation,
                               QStringLiteral("this program lies in no installation; --root names one")}
               : InstallResult();
}

} // namespace

ExitCode runRollbackTool(const QStringList &arguments, const QString &programDirectory)
{
    Values values;
    QString root;
    Installation installation;
    InstallResult opened = findRoot(arguments, {QStringLiteral("--root"), QStringLiteral("--reason")},
                                    programDirectory, &values, &root);
    if (opened.ok())
        opened = installation.open(root);
    if (!opened.ok())
        return result(opened);
    const VersionNumber before = installation.manifest().version;
    const InstallResult done = installation.stepBack(values.value(QStringLiteral("--reason")));
    if (!done.ok())
        return result(done);
    return printText(QStringLiteral("%1 %2 is in use again; %3 is not offered any more.\n")
                         .arg(installation.manifest().product, versionText(installation.manifest().version),
                              versionText(before)),
                     ExitCode(0));
}

ExitCode runConfirmTool(const QStringList &arguments, const QString &programDirectory)
{
    Values values;
    QString root;
    const InstallResult found
        = findRoot(arguments, {QStringLiteral("--root")}, programDirectory, &values, &root);
    return result(found.ok() ? Installation::confirmVersion(root) : found);
}

ExitCode prepareRun(const QByteArrayList &words, const QString &programDirectory, QByteArray *path,
                    QByteArrayList *next)
{
    Values values;
    *next = words.mid(2);
    if (next->value(0) == "--root" && next->size() > 1) {
        values.insert(QStringLiteral("--root"), Files::decoded(next->at(1)));
        *next = next->mid(2);
    }
    QByteArray program = next->value(0);
    const QString shown = Files::decoded(program);
    QString root;
    if (values.isEmpty() && QDir::isAbsolutePath(shown)) {
        *path = program;
        program = pathInVersion(shown, &root);
        // An application that starts itself anew need not lie in an installation.
        if (program.isEmpty())
            return ExitCode::UpdateFound;
    } else {
        root = rootOf(values, programDirectory);
    }
    if (!PackageManifest::isSafePath(program))
        return fail(ExitCode::UsageError, QStringLiteral("a program inside the installation is needed"));
    if (root.isEmpty())
        return fail(ExitCode::NoInstallation, QStringLiteral("this program lies in no installation"));
    Installation installation;
    if (installation.open(root).ok()) {
        const QString version = versionText(installation.manifest().version);
        if (installation.countStart())
            printError(QStringLiteral("version %1 did not come up; the version before is in use again")
                           .arg(version));
    }
    *path = Files::encoded(root) + "/current/" + program;
    return ExitCode::UpdateFound;
}
