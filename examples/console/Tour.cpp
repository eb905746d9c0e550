#include "examples/console/Tour.h"

#include "examples/console/ConsoleWindow.h"
#include "gui/messages/CMessageBoxWndBase.h"
#include "gui/messages/CMessageManager.h"

#include <QAbstractButton>
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QScreen>
#include <QTimer>

#include <cstdio>

Tour::Tour(ConsoleWindow *window, const QString &folder) : m_window(window), m_folder(folder)
{
    m_folder.mkpath(QStringLiteral("."));
}

int Tour::run()
{
    waitFor([this] { return m_window->isActiveWindow(); }, 3000);
    updateSteps();
    messageSteps();
    taskSteps();
    logSteps();
    std::printf("%d of %d steps as expected; pictures in %s\n", m_number - m_failed, m_number,
                qUtf8Printable(m_folder.path()));
    return m_failed;
}

bool Tour::waitFor(const std::function<bool()> &condition, int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    while (!condition()) {
        if (clock.elapsed() > milliseconds)
            return false;
        QEventLoop loop;
        QTimer::singleShot(20, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

void Tour::step(const QString &name, bool ok, const QString &seen)
{
    ++m_number;
    if (!ok)
        ++m_failed;
    // A window that has just come is drawn, and placed by the window manager, a moment later.
    QElapsedTimer clock;
    clock.start();
    waitFor([&clock] { return clock.elapsed() > 250; });
    const QString file = QStringLiteral("%1-%2.png").arg(m_number, 2, 10, QLatin1Char('0')).arg(
        QString(name).replace(QLatin1Char(' '), QLatin1Char('-')).toLower());
    QGuiApplication::primaryScreen()->grabWindow(0).save(m_folder.filePath(file));
    std::printf("%-6s %-32s %s  [%s]\n", ok ? "ok" : "FAILED", qUtf8Printable(name), qUtf8Printable(seen),
                qUtf8Printable(file));
    std::fflush(stdout);
}

void Tour::press(QWidget *scope, const char *buttonName)
{
    auto *button = scope->findChild<QAbstractButton *>(QString::fromLatin1(buttonName));
    if (button)
        button->click();
    else
        step(QStringLiteral("button %1").arg(QLatin1String(buttonName)), false, QStringLiteral("is not there"));
}

QWidget *Tour::waitForMessage(int code)
{
    QWidget *found = nullptr;
    waitFor([&] {
        const auto windows = CMessageManager::instance()->getMessageWindowsForId(code);
        found = windows.isEmpty() ? nullptr : static_cast<QWidget *>(windows.first());
        return found && found->isVisible();
    });
    return found;
}

void Tour::answer(int code, int button)
{
    if (QWidget *box = waitForMessage(code))
        press(box, qPrintable(QStringLiteral("m_pbButton%1").arg(button)));
    waitFor([code] { return CMessageManager::instance()->getMessageWindowsForId(code).isEmpty(); }, 5000);
}

void Tour::later(const std::function<void()> &function)
{
    QTimer::singleShot(0, m_window, function);
}
