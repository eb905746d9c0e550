#pragma once

#include "examples/console/pages/ConsolePage.h"

#include "kov_sdk/KovTypes.h"

class QListWidget;

/// Shows notifications, one or many, and what comes back.
class NotificationsPage : public ConsolePage
{
    Q_OBJECT

public:
    explicit NotificationsPage(QWidget *parent = nullptr);

    /// Shows the notification of a code.
    void show(int code);

private:
    Q_INVOKABLE bool onLinkClicked(const QUrl &url);
    void onClicked(KOV_RESULT code);
    void showMany();

    QListWidget *m_list = nullptr;
    int m_machine = 0;
};
