#include "examples/console/sample/ReportServer.h"

#include "examples/console/sample/LoopbackServer.h"
#include "gui/problem_report/send/ReportService.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>

namespace {

QString program()
{
    return QStandardPaths::findExecutable(QStringLiteral("sample_report_service"),
                                          {QCoreApplication::applicationDirPath()});
}

} // namespace

ReportServer::ReportServer(QObject *parent)
    : QObject(parent)
    , m_server(new QProcess(this))
    , m_port(LoopbackServer::freePort())
{ }

ReportServer::~ReportServer()
{
    LoopbackServer::stop(m_server);
}

bool ReportServer::isInstalled()
{
    return !program().isEmpty();
}

bool ReportServer::start()
{
    if (m_server->state() != QProcess::NotRunning)
        return true;
    if (!isInstalled()) {
        m_errorText = tr("This installation has no report service.");
        return false;
    }
    m_server->start(program(), {m_folder.path(), QString::number(m_port)});
    if (m_server->waitForStarted() && LoopbackServer::waitUntilReady(m_server, m_port))
        return true;
    m_errorText = tr("The report service did not start: %1").arg(m_server->errorString());
    return false;
}

bool ReportServer::setManner(Manner manner)
{
    static const char *const paths[] = {"/reports", "/busy", "/elsewhere", "/reports"};
    ReportService::setAddress(
        QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(QLatin1String(paths[int(manner)]))));
    if (manner != Manner::Stopped)
        return start();
    LoopbackServer::stop(m_server);
    return true;
}

QString ReportServer::archiveOf(const QString &id) const
{
    const QString path = QDir(m_folder.path()).filePath(id + QStringLiteral(".tar.gz"));
    return !id.isEmpty() && QFile::exists(path) ? path : QString();
}
