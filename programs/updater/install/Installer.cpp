#include "programs/updater/install/Installer.h"

#include "programs/updater/trust/OfferStore.h"

#include <QCryptographicHash>
#include <QFileInfo>
#include <QRegularExpression>

namespace {

constexpr qint64 blockSize = 256 * 1024;
/// What a file takes on the disk beyond its size, with its folder's share.
constexpr qint64 spacePerFile = 8192;

constexpr int copiedPercent = 40;
constexpr int unpackedPercent = 95;

InstallResult refuse(ExitCode code, const QString &fault)
{
    return {code, fault};
}

InstallResult distrust(const QString &fault)
{
    return refuse(ExitCode::PackageNotTrusted, QStringLiteral("the package is not trusted: %1").arg(fault));
}

InstallResult outdated(const QString &fault)
{
    return refuse(ExitCode::PackageOutdated, QStringLiteral("the package is not installed: %1").arg(fault));
}

InstallResult broken(const QString &fault)
{
    return refuse(ExitCode::PackageBroken, QStringLiteral("the package is not valid: %1").arg(fault));
}

/// Percentages of one run, of which each is told once.
class ProgressLine
{
public:
    explicit ProgressLine(const std::function<void(int)> &onProgress)
        : m_onProgress(onProgress)
    { }

    void reach(int percent)
    {
        if (percent <= m_percent || !m_onProgress)
            return;
        m_percent = percent;
        m_onProgress(percent);
    }

    /// @param done  of total, of a stretch between two percentages
    void reach(int from, int to, qint64 done, qint64 total)
    {
        reach(total > 0 ? from + int(qint64(to - from) * done / total) : to);
    }

private:
    const std::function<void(int)> &m_onProgress;
    int m_percent = -1;
};

/// Passes a package on to the installation's staging, as long as it is the one that was signed.
class Unpacking : public PackageTarget
{
public:
    Unpacking(Installation &installation, const Signature::Statement &statement, ProgressLine &progress,
              const std::function<bool()> &shouldStop)
        : m_installation(installation)
        , m_statement(statement)
        , m_progress(progress)
        , m_shouldStop(shouldStop)
    { }

    InstallResult begin(const PackageManifest &manifest, const QByteArray &manifestText) override
    {
        if (manifest.product != m_statement.product || manifest.version != m_statement.version)
            return broken(QStringLiteral("its manifest is for %1 %2, its signature for %3 %4")
                              .arg(manifest.product, versionText(manifest.version), m_statement.product,
                                   versionText(m_statement.version)));
        m_total = manifest.totalSize();
        InstallResult result
            = m_installation.checkSpace(m_total + manifestText.size() + spacePerFile * manifest.files.size());
        if (result.ok())
            result = m_installation.makeStaging();
        return result.ok() ? m_installation.staging().begin(manifest, manifestText) : result;
    }

    InstallResult beginFile(const PackageEntry &entry) override
    {
        return m_installation.staging().beginFile(entry);
    }

    InstallResult write(const char *data, qint64 size) override
    {
        if (m_shouldStop && m_shouldStop())
            return refuse(ExitCode::InstallFailed, QStringLiteral("stopped by a signal"));
        m_done += size;
        m_progress.reach(copiedPercent, unpackedPercent, m_done, m_total);
        return m_installation.staging().write(data, size);
    }

    InstallResult endFile() override { return m_installation.staging().endFile(); }
    InstallResult end() override { return m_installation.staging().end(); }

private:
    Installation &m_installation;
    const Signature::Statement &m_statement;
    ProgressLine &m_progress;
    const std::function<bool()> &m_shouldStop;
    qint64 m_total = 0;
    qint64 m_done = 0;
};

class Installer
{
public:
    explicit Installer(const InstallRequest &request)
        : m_request(request)
        , m_installation(request.hooks)
        , m_progress(request.onProgress)
    { }

    InstallResult run()
    {
        m_progress.reach(0);
        InstallResult result = m_installation.open(m_request.root);
        using Step = InstallResult (Installer::*)();
        for (const Step step : {&Installer::readSignature, &Installer::checkStatement, &Installer::takeCopy,
                                &Installer::unpack, &Installer::commit}) {
            if (result.ok() && m_request.shouldStop && m_request.shouldStop())
                return refuse(ExitCode::InstallFailed, QStringLiteral("stopped by a signal"));
            if (result.ok())
                result = (this->*step)();
        }
        return result;
    }

private:
    InstallResult readSignature()
    {
        InstallResult result = m_package.open(m_request.packageFile);
        if (!result.ok())
            return result;
        QByteArray signature;
        if (m_request.offers)
            signature = m_request.offers->packageSignature(m_installation.manifest().product,
                                                           QFileInfo(m_request.packageFile).fileName());
        if (signature.isEmpty())
            result = readSignatureFile(&signature);
        if (!result.ok())
            return result;
        const QString fault = Signature::read(signature, m_request.keys, &m_statement);
        return fault.isEmpty() ? result : distrust(fault);
    }

    InstallResult readSignatureFile(QByteArray *signature)
    {
        PackageFile file;
        const InstallResult result = file.open(m_request.packageFile + QStringLiteral(".sig"));
        if (!result.ok())
            return refuse(ExitCode::SignatureMissing,
                          QStringLiteral("the package is not trusted: its signature is missing (%1)")
                              .arg(result.fault));
        // One byte more than any signature has: a longer file is refused as one.
        signature->resize(Signature::maximumFileSize + 1);
        signature->resize(int(qMax<qint64>(0, file.read(signature->data(), signature->size()))));
        return InstallResult();
    }

    InstallResult checkStatement()
    {
        const PackageManifest &installed = m_installation.manifest();
        if (m_statement.role != Signature::Role::Package)
            return distrust(QStringLiteral("its signature is for a file of another kind"));
        if (m_statement.product != installed.product)
            return distrust(QStringLiteral("its signature is for another product"));
        if (m_request.now >= m_statement.expires)
            return outdated(
                QStringLiteral("its signature expired at %1").arg(Signature::timeText(m_statement.expires)));
        if (m_statement.version <= installed.version)
            return outdated(QStringLiteral("its version %1 is not newer than the installed %2")
                                .arg(versionText(m_statement.version), versionText(installed.version)));
        quint64 counter = 0;
        const InstallResult known = m_installation.readCounter(m_statement.key, &counter);
        if (!known.ok())
            return known;
        if (m_statement.counter < counter)
            return outdated(QStringLiteral("it was published before what is installed"));
        static const QRegularExpression ending(QStringLiteral("-(\\d+\\.\\d+\\.\\d+\\.\\d+)\\.tar\\.gz\\z"));
        const QRegularExpressionMatch match = ending.match(m_request.packageFile);
        VersionNumber named = m_statement.version;
        if (match.hasMatch() && (!parseVersion(match.captured(1), &named) || named != m_statement.version))
            return outdated(QStringLiteral("its name says version %1, its signature %2")
                                .arg(match.captured(1), versionText(m_statement.version)));
        return InstallResult();
    }

    /// From here on only the copy is read: whoever can write the package may do so at any time.
    InstallResult takeCopy()
    {
        if (m_package.size() != m_statement.size)
            return distrust(QStringLiteral("it is not the file that was signed"));
        InstallResult result = m_installation.checkSpace(m_statement.size);
        if (result.ok())
            result = m_installation.makePrivateFile(&m_copy);
        QCryptographicHash digest(QCryptographicHash::Sha512);
        QByteArray block(int(blockSize), '\0');
        qint64 done = 0;
        while (result.ok() && done <= m_statement.size) {
            const qint64 count = m_package.read(block.data(), block.size());
            if (count < 0)
                return refuse(ExitCode::InstallFailed,
                              QStringLiteral("%1 cannot be read").arg(m_request.packageFile));
            if (count == 0)
                break;
            if (m_request.shouldStop && m_request.shouldStop())
                return refuse(ExitCode::InstallFailed, QStringLiteral("stopped by a signal"));
            done += count;
            digest.addData(block.constData(), int(count));
            m_progress.reach(0, copiedPercent, qMin(done, m_statement.size), m_statement.size);
            result = m_copy.append(block.constData(), count);
        }
        if (!result.ok())
            return result;
        if (done != m_statement.size || digest.result() != m_statement.digest)
            return distrust(QStringLiteral("it is not the file that was signed"));
        return m_copy.rewind();
    }

    InstallResult unpack()
    {
        Unpacking unpacking(m_installation, m_statement, m_progress, m_request.shouldStop);
        return readPackage(m_copy, unpacking);
    }

    InstallResult commit()
    {
        m_progress.reach(unpackedPercent);
        const InstallResult result = m_installation.commit(m_statement.key, m_statement.counter);
        if (result.ok())
            m_progress.reach(100);
        return result;
    }

    const InstallRequest &m_request;
    Installation m_installation;
    ProgressLine m_progress;
    PackageFile m_package;
    PackageFile m_copy;
    Signature::Statement m_statement;
};

} // namespace

InstallResult installPackage(const InstallRequest &request)
{
    return Installer(request).run();
}
