#include "examples/console/tour/Tour_p.h"

#include "gui/messages/CMessageManager.h"
#include "gui/messages/box/CMessageBoxWndBase.h"
#include "gui/window/CProgressDialog.h"

#include <QAbstractButton>
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QScreen>
#include <QSettings>
#include <QTextEdit>

#include <cstdio>

namespace {

QWidget *openMessage(int code)
{
    const auto windows = CMessageManager::instance()->getMessageWindowsForId(code);
    QWidget *window = windows.isEmpty() ? nullptr : static_cast<QWidget *>(windows.first());
    return window && window->isVisible() ? window : nullptr;
}

} // namespace

Tour::Tour(ConsoleWindow *window, const QString &folder)
    : m_window(window)
    , m_folder(folder)
{
    m_folder.mkpath(QStringLiteral("private"));
    // A progress window may come and go between two looks.
    qApp->installEventFilter(this);
}

Tour::~Tour()
{
    wait();
}

bool Tour::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show && qobject_cast<CProgressDialog *>(watched))
        ++m_progressWindowsShown;
    return QThread::eventFilter(watched, event);
}

void Tour::run()
{
    takeOver();
    waitFor([this] { return m_window->isActiveWindow(); }, 3000);
    switch (m_phase) {
    case Beginning:
        updateSteps();
        networkSteps();
        messageSteps();
        anyCodeSteps();
        notificationSteps();
        statisticsSteps();
        preferencesSteps();
        taskSteps();
        wizardSteps();
        reportSteps();
        logSteps();
        offerSteps();
        downloadSteps();
        break;
    case AtNextStart:
        installSteps();
        break;
    case AfterUpdate:
        newVersionSteps();
        break;
    }
    end();
}

QString Tour::privateFile(const char *name) const
{
    return m_folder.filePath(QLatin1String("private/") + QLatin1String(name));
}

bool Tour::isContinued(const QString &folder)
{
    return QFile::exists(folder + QStringLiteral("/private/continues"));
}

void Tour::takeOver()
{
    if (!isContinued(m_folder.path()))
        return;
    // The former process may still take the picture of its last step.
    for (int i = 0; i < 200 && !QFile::exists(privateFile("count")); ++i)
        msleep(100);
    const QSettings count(privateFile("count"), QSettings::IniFormat);
    m_number = count.value(QStringLiteral("steps")).toInt();
    m_failed = count.value(QStringLiteral("failed"), 1).toInt();
    m_phase = Phase(
        QSettings(privateFile("continues"), QSettings::IniFormat).value(QStringLiteral("phase")).toInt());
    for (const char *file : {"continues", "count"})
        QFile::remove(privateFile(file));
}

void Tour::handOver(Phase next)
{
    m_next = next;
    QSettings(privateFile("continues"), QSettings::IniFormat).setValue(QStringLiteral("phase"), int(next));
}

void Tour::end()
{
    if (!isHandedOver())
        std::printf("%d of %d steps as expected; pictures in %s\n", m_number - m_failed, m_number,
                    qUtf8Printable(m_folder.path()));
    std::fflush(stdout);
    const QString draft = privateFile("draft");
    {
        QSettings count(draft, QSettings::IniFormat);
        count.setValue(QStringLiteral("steps"), m_number);
        count.setValue(QStringLiteral("failed"), m_failed);
    }
    QFile::rename(draft, privateFile(isHandedOver() ? "count" : "end"));
}

int Tour::failedSteps(const QString &folder)
{
    const QString end = folder + QStringLiteral("/private/end");
    for (int i = 0; i < 1800 && !QFile::exists(end); ++i)
        msleep(100);
    return QSettings(end, QSettings::IniFormat).value(QStringLiteral("failed"), -1).toInt();
}

QWidget *Tour::visibleWindow(const char *className)
{
    const auto windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (window->isVisible() && window->inherits(className))
            return window;
    }
    return nullptr;
}

bool Tour::waitFor(const std::function<bool()> &condition, int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    while (!ask(condition)) {
        if (clock.elapsed() > milliseconds)
            return false;
        msleep(20);
    }
    return true;
}

void Tour::step(const QString &name, bool ok, const QString &seen)
{
    ++m_number;
    if (!ok)
        ++m_failed;
    // A window that has just come is drawn, and placed by the window manager, a moment later.
    msleep(250);
    const QString file = QStringLiteral("%1-%2.png")
                             .arg(m_number, 2, 10, QLatin1Char('0'))
                             .arg(QString(name).replace(QLatin1Char(' '), QLatin1Char('-')).toLower());
    ask([&] { return QGuiApplication::primaryScreen()->grabWindow(0).save(m_folder.filePath(file)); });
    std::printf("%-6s %-32s %s  [%s]\n", ok ? "ok" : "FAILED", qUtf8Printable(name), qUtf8Printable(seen),
                qUtf8Printable(file));
    std::fflush(stdout);
}

void Tour::leaveOut(const QString &name, const QString &reason)
{
    std::printf("%-6s %-32s %s\n", "-", qUtf8Printable(name), qUtf8Printable(reason));
    std::fflush(stdout);
}

void Tour::press(QWidget *scope, const QString &buttonName)
{
    later([scope = QPointer<QWidget>(scope), buttonName] {
        auto *button = scope ? scope->findChild<QAbstractButton *>(buttonName) : nullptr;
        if (button)
            button->click();
        else
            std::printf("FAILED there is no button %s\n", qUtf8Printable(buttonName));
    });
}

bool Tour::isMessageOpen(int code)
{
    return ask([code] { return openMessage(code) != nullptr; });
}

QString Tour::messageText(int code)
{
    waitFor([code] { return openMessage(code) != nullptr; });
    return ask([code] {
        const QWidget *box = openMessage(code);
        const auto *text = box ? box->findChild<QTextEdit *>(QStringLiteral("m_txtMessage")) : nullptr;
        return text ? text->toPlainText().simplified() : QString();
    });
}

void Tour::answer(int code, int button)
{
    press(ask([code] { return openMessage(code); }), QStringLiteral("m_pbButton%1").arg(button));
    waitFor([code] { return !openMessage(code); }, 5000);
}

void Tour::later(const std::function<void()> &function)
{
    QMetaObject::invokeMethod(m_window, function, Qt::QueuedConnection);
}
