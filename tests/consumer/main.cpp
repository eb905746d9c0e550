#include "abstract_task/CAbstractTask.h"
#include "gui/KovGui.h"
#include "gui/messages/record/MessageUtils.h"

#include <QApplication>
#include <QTimer>

#include <cstdio>

/// A task of the host's own, to see that the framework's macros and exports reach outside.
class GreetingTask : public CAbstractTask
{
    Q_OBJECT

public:
    enum TaskStep { Greet = 0 };
    Q_ENUM(TaskStep)

    unsigned type() const override { return 0; }

private:
    Q_INVOKABLE KOV_RESULT greet()
    {
        std::puts(qUtf8Printable(MessageUtils::getMessageString(KOV_ERR_UPDATER_MISSING, true)));
        return KOV_SUCCESS;
    }
};

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    KovGui::init(KAM_CONSOLE);
    KovGui::setupLogging(true);

    GreetingTask task;
    QObject::connect(&task, &CAbstractTask::taskFinished, &application, &QCoreApplication::exit);
    QTimer::singleShot(0, &task, &CAbstractTask::execute);
    return application.exec();
}

#include "main.moc"
