#pragma once

#include <QProcess>
#include <QTemporaryDir>

/// A certificate authority of this test run.
class TestAuthority
{
public:
    TestAuthority()
    {
        openssl(
            QStringLiteral("req -x509 -nodes -newkey rsa:2048 -subj /CN=Test -keyout ca.key -out ca.pem"));
    }

    /// The file with the authority's own certificate.
    QString certificate() const { return m_directory.filePath(QStringLiteral("ca.pem")); }
    /// Issues a server's certificate; the directives with which nginx uses it.
    QString issue(const QString &subject, const QString &alternativeName)
    {
        const QString path = m_directory.filePath(QString::number(++m_count));
        openssl(
            QStringLiteral(
                "req -nodes -newkey rsa:2048 -subj %1 -addext subjectAltName=%2 -keyout %3.key -out %3.csr")
                .arg(subject, alternativeName, path));
        openssl(
            QStringLiteral("x509 -req -copy_extensions copy -CA ca.pem -CAkey ca.key -in %1.csr -out %1.pem")
                .arg(path));
        return QStringLiteral("ssl_certificate %1.pem; ssl_certificate_key %1.key;").arg(path);
    }

private:
    void openssl(const QString &arguments)
    {
        QProcess process;
        process.setWorkingDirectory(m_directory.path());
        process.start(QStringLiteral("openssl"), arguments.split(QLatin1Char(' ')));
        if (!process.waitForFinished() || process.exitCode() != 0)
            qFatal("openssl: %s", process.readAllStandardError().constData());
    }

    QTemporaryDir m_directory;
    int m_count = 0;
};
