#include "gui/update/install/PackageCheck_p.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/tasks/download/CMd5Calculator.h"
#include "gui/tasks/download/FileDownloadInfo.h"

#include <QFile>
#include <QRegularExpression>

bool PackageCheck::isPossible(const FileDownloadInfo &package)
{
    static const QRegularExpression digest(QStringLiteral("\\A[0-9A-Fa-f]{32}\\z"));
    if (digest.match(package.md5).hasMatch())
        return true;
    KOV_LOG_TAG("[APP_UPDATE]", 0, "(!)Error: the update has no digest, so its package cannot be verified.");
    return false;
}

PackageCheck::PackageCheck(QObject *parent)
    : QObject(parent)
{ }

PackageCheck::~PackageCheck()
{
    cancel();
}

void PackageCheck::start(const FileDownloadInfo &package)
{
    cancel();
    const QString path = package.destinationFilePath();
    m_calculator = new CMd5Calculator(path, this);
    connect(m_calculator, &CMd5Calculator::finished, this,
            [this, path, expected = package.md5](bool ok, const QString &digest) {
                const bool isIntact = ok && digest.compare(expected, Qt::CaseInsensitive) == 0;
                if (!ok) {
                    // It may be as good as it came.
                    KOV_LOG_TAG(
                        "[APP_UPDATE]", 0,
                        "(!)Error: the package [%s] cannot be checked: its digest cannot be computed.",
                        KovGui::logText(path).constData());
                } else if (!isIntact) {
                    KOV_LOG_TAG("[APP_UPDATE]", 0,
                                "(!)Error: the package [%s] is damaged: its digest is [%s] instead of [%s].",
                                KovGui::logText(path).constData(), qPrintable(digest), qPrintable(expected));
                    QFile::remove(path);
                }
                Q_EMIT finished(isIntact);
            });
    m_calculator->start();
}

void PackageCheck::cancel()
{
    if (!m_calculator)
        return;
    m_calculator->disconnect(this);
    m_calculator->cancel();
    m_calculator.clear();
}
