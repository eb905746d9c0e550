#pragma once

#include "examples/console/pages/ConsolePage.h"
#include "gui/messages/record/Messaging.h"

#include <QPointer>

class CMessageBoxWndBase;
class QCheckBox;
class QComboBox;
class QLabel;
class QListWidget;
class QPushButton;

/// Shows messages of every kind, their rules and what comes back.
class MessagesPage : public ConsolePage
{
    Q_OBJECT

public:
    explicit MessagesPage(QWidget *parent = nullptr);

    /// Shows the message of a code as its entry in the list does.
    void show(int code);

private:
    Q_INVOKABLE void onMessageClosed(KOV_RESULT code, Messaging::ButtonID answer, const QVariant &params);
    Q_INVOKABLE bool onLinkClicked(const QUrl &url);
    void completeBox(const Messaging::MessageData &data, QWidget *parent, CMessageBoxWndBase *window);
    void updateHidden();
    void showFromOneMachine();
    void askThroughEvent();
    QWidget *createAnyCodeRow();
    void raiseAnyCode();

    QListWidget *m_list = nullptr;
    QComboBox *m_code = nullptr;
    QComboBox *m_machine = nullptr;
    QCheckBox *m_unasked = nullptr;
    QListWidget *m_hidden = nullptr;
    QLabel *m_hiddenCount = nullptr;
    QPushButton *m_restore = nullptr;
    QPushButton *m_restoreAll = nullptr;
};
