#pragma once

#include "abstract_task/CTaskManager.h"
#include "gui/KovGui.h"
#include "gui/update/record/UpgradeUtils.h"
#include "gui/window/CProgressDialog.h"
#include "tests/support/AnsweringProvider.h"
#include "tests/support/DialogScript.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/NginxServer.h"
#include "tests/support/OffscreenPlatform.h"
#include "tests/support/Policies.h"
#include "tests/support/ReplacedAnswers.h"

/// A host with the library's own messages and windows, and a server.
class UpdateFixture : public QObject
{
    Q_OBJECT

protected:
    static CProgressDialog *progressWindow()
    {
        for (QWidget *window : QApplication::topLevelWidgets()) {
            auto *progress = qobject_cast<CProgressDialog *>(window);
            if (progress && progress->isVisible())
                return progress;
        }
        return nullptr;
    }

    QTemporaryDir m_root; ///< what the server serves
    NginxServer m_server;
    QString m_text; ///< of the last message
    QPointer<QWidget> m_message;

protected Q_SLOTS:
    void initTestCase()
    {
        ignoreOffscreenWarnings();
        ignoreReplacedAnswers();
        KovGui::init(KAM_CONSOLE);
        KovGui::setLogVerbosity(2);
        registerPolicy<CMessageDataProvider, AnsweringProvider>();
        connect(CMessageManager::instance(), &CMessageManager::aboutToShowMessage, this,
                [this](const Messaging::MessageData &data, QWidget *, QWidget *window) {
                    QVERIFY2(!data.longMsg.isEmpty() && !data.longMsg.contains("%1"),
                             qPrintable(data.longMsg));
                    m_text = data.longMsg;
                    m_message = window;
                });
        QVERIFY2(m_server.start(m_root.path()), qPrintable(m_server.errorString()));
    }

    void cleanup()
    {
        QTRY_VERIFY(qApp->findChildren<QProcess *>().isEmpty());
        QTRY_VERIFY(QApplication::topLevelWidgets().isEmpty());
        for (const int type : {63, 73})
            QVERIFY(CTaskManager::instance()->getTasksByType(type).isEmpty());
        AnsweringProvider::answers = false;
        m_text.clear();
    }
};
