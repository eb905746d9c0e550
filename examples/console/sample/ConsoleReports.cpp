#include "examples/console/sample/ConsoleReports.h"

#include "gui/data_model/documents/CPackedProblemReport.h"
#include "gui/frame/Application.h"
#include "gui/frame/LibraryVersion.h"
#include "gui/log/Log.h"
#include "gui/problem_report/report/ReportSections.h"

#include <QApplication>
#include <QFileInfo>
#include <QLocale>
#include <QPixmap>
#include <QStyle>

namespace {

CReportAttachment attachment(const QString &name, const char *kind, const QString &path)
{
    CReportAttachment entry;
    entry.fileName = name;
    entry.kind = QLatin1String(kind);
    entry.sourcePath = path;
    return entry;
}

} // namespace

ConsoleReports::ConsoleReports(QWidget *window, QObject *parent)
    : QObject(parent)
    , m_window(window)
{
    setProperty("serverUuid", QStringLiteral("{00000000-0000-0000-0000-000000000001}"));
    setProperty("vmUuid", QString());
}

QByteArray ConsoleReports::clientPart()
{
    CPackedProblemReport part;
    part.type = QStringLiteral("user");
    part.productName = KovGui::getAppGuiName();
    part.productVersion = QString::fromLatin1(LibraryVersion::text());
    part.serverUuid = property("serverUuid").toString();
    CClientInfo client;
    client.productName = part.productName;
    client.productVersion = part.productVersion;
    client.mode = quint32(KovGui::applicationMode());
    client.toolkitVersion = QString::fromLatin1(qVersion());
    client.platform = QGuiApplication::platformName();
    client.locale = QLocale().name();
    client.programPath = QCoreApplication::applicationFilePath();
    client.arguments = QCoreApplication::arguments().mid(1).toVector();
    part.clientInfo = client;
    CAppConfig config;
    config.productVersion = part.productVersion;
    config.style = QApplication::style()->objectName();
    part.appConfig = config;
    const QString log = QString::fromUtf8(KovGui::logFilePath());
    part.attachments.append(attachment(QFileInfo(log).fileName(), "log", log));
    const QString name = QLatin1String(ReportSections::hostScreenshotName) + QStringLiteral(".png");
    const QString picture = m_folder.filePath(name);
    if (m_window->grab().save(picture))
        part.attachments.append(attachment(name, "screenshot", picture));
    return part.write();
}

CSdkRequest *ConsoleReports::getProblemReport(uint kind)
{
    t_SdkHandleWrap job;
    if (KOV_FAILED(KovApi_GetProblemReport(kind, clientPart().constData(), job.out())))
        return nullptr;
    return new CSdkRequest(job);
}

QString ConsoleReportDelegate::getTitleText(const CPackedProblemReport &report)
{
    return report.type == QLatin1String("crash") ? tr("%1 ended unexpectedly.").arg(KovGui::getAppGuiName())
                                                 : tr("A problem of %1").arg(KovGui::getAppGuiName());
}

QWidget *ConsoleReportDelegate::parentWindow(QObject *)
{
    return qobject_cast<QWidget *>(parent()) ? static_cast<QWidget *>(parent())->window() : nullptr;
}

void ConsoleReportDelegate::postReportSuccess(const QString &id, QWidget *parent)
{
    Q_EMIT delivered(id);
    CProblemReportDelegate::postReportSuccess(id, parent);
}
