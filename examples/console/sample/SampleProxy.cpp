#include "examples/console/sample/SampleProxy.h"

#include "examples/console/sample/LoopbackServer.h"

#include <QFile>
#include <QProcess>

SampleProxy::SampleProxy(QObject *parent)
    : QObject(parent)
    , m_server(new QProcess(this))
    , m_port(LoopbackServer::freePort())
{ }

SampleProxy::~SampleProxy()
{
    stop();
}

QString SampleProxy::user()
{
    return QStringLiteral("tessa");
}

QString SampleProxy::password()
{
    return QStringLiteral("open sesame");
}

bool SampleProxy::isRunning() const
{
    return m_server->state() == QProcess::Running;
}

bool SampleProxy::writeConfiguration()
{
    // Started by root, squid gives up its rights before it reads the list of users.
    const auto everyone
        = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther;
    const QString users = m_folder.filePath(QStringLiteral("users"));
    // The password is "open sesame", crypted.
    if (!QFile::setPermissions(m_folder.path(), everyone)
        || !LoopbackServer::save(users, "tessa:$apr1$sesame00$IJ.1zxAqTTvitcUZDfuKz.\n")
        || !QFile::setPermissions(users, everyone))
        return false;
    const QString text
        = QStringLiteral("http_port 127.0.0.1:%1\n"
                         "auth_param basic program /usr/lib/squid/basic_ncsa_auth %2\n"
                         "auth_param basic realm Tessarine sample proxy\n"
                         "acl known proxy_auth REQUIRED\nhttp_access allow known\nhttp_access deny all\n"
                         "cache deny all\npid_filename none\naccess_log none\ncache_log /dev/null\n"
                         "shutdown_lifetime 0 seconds\n")
              .arg(QString::number(m_port), users);
    return LoopbackServer::save(m_folder.filePath(QStringLiteral("squid.conf")), text.toUtf8());
}

bool SampleProxy::start()
{
    if (isRunning())
        return true;
    const QString program = LoopbackServer::program("squid");
    if (program.isEmpty() || !writeConfiguration()) {
        m_errorText = program.isEmpty() ? tr("squid is not installed; ./setup installs it.")
                                        : tr("The proxy's folder cannot be written.");
        return false;
    }
    // Those of one name share memory, which another user's cannot open.
    m_server->start(program,
                    {QStringLiteral("-N"), QStringLiteral("-n"), QStringLiteral("tessarine%1").arg(m_port),
                     QStringLiteral("-f"), m_folder.filePath(QStringLiteral("squid.conf"))});
    if (!m_server->waitForStarted() || !LoopbackServer::waitUntilReady(m_server, m_port)) {
        m_errorText
            = tr("squid did not start: %1").arg(QString::fromLocal8Bit(m_server->readAllStandardError()));
        stop();
        return false;
    }
    m_errorText.clear();
    return true;
}

void SampleProxy::stop()
{
    LoopbackServer::stop(m_server);
}
