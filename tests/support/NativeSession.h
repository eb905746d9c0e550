#pragma once

#include <QApplication>
#include <QProcess>
#include <QTemporaryDir>

/// A session bus of the test's own on which a screen reader is announced. To be made before the application.
class AccessibleSession
{
public:
    AccessibleSession()
    {
        qputenv("XDG_RUNTIME_DIR", m_runtime.path().toLocal8Bit());
        m_bus.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                                    QStringLiteral("--print-address")});
        m_bus.waitForReadyRead(5000);
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.readLine().trimmed());
        ask(QStringLiteral("org.freedesktop.DBus.Properties.Set string:org.a11y.Status "
                           "string:ScreenReaderEnabled variant:boolean:true"));
        // The toolkit asks for both at once, and does without the bus when the address comes last.
        qputenv("AT_SPI_BUS_ADDRESS", ask(QStringLiteral("org.a11y.Bus.GetAddress")));
    }
    ~AccessibleSession()
    {
        m_bus.terminate();
        m_bus.waitForFinished(5000);
    }

private:
    static QByteArray ask(const QString &call)
    {
        const QString target = QStringLiteral("--print-reply=literal --dest=org.a11y.Bus /org/a11y/bus ");
        QProcess process;
        process.start(QStringLiteral("dbus-send"), (target + call).split(QLatin1Char(' ')));
        process.waitForFinished();
        return process.readAllStandardOutput().trimmed();
    }

    QTemporaryDir m_runtime;
    QProcess m_bus;
};

/// An application in such a session, for KOV_TEST_MAIN.
class AccessibleApplication : private AccessibleSession, public QApplication
{
public:
    using QApplication::QApplication;
};

inline void runProgram(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(30000);
}

/// The X server's own key events; they go where its focus is.
inline void pressKeys(const QStringList &keys)
{
    runProgram(QStringLiteral("xdotool"), QStringList{QStringLiteral("key")} + keys);
}
