#pragma once

#include "gui/messages/Messaging.h"
#include "gui/window/CBaseDialog.h"

#include <QUrl>

#include <memory>

/**
 * What every message window has: the message's uuid, the do-not-show-again state, and the two signals by which the
 * processor learns of answers and links.
 */
class KOVGUI_EXPORT CMessageBoxWndBase : public CBaseDialog
{
    Q_OBJECT

public:
    explicit CMessageBoxWndBase(QWidget *parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags(),
                                CustomWindowFlags customFlags = NoCustomFlags);
    ~CMessageBoxWndBase() override;

    void setMessageUuid(const QString &uuid);
    QString getMessageUuid() const;
    virtual bool isDoNotShowAgainChecked() const = 0;
    /// A visible box may carry another message; one that is closing may not.
    bool canBeParent() const override;

Q_SIGNALS:
    /// Emitted exactly once, whichever way the window goes: answered, closed, or destroyed with its parent. It is hidden
    /// by then.
    void beforeMessageDestroyed(const QString &uuid, Messaging::ButtonID answer, bool doNotShowAgain);
    void anchorClicked(const QString &uuid, const QUrl &url);

private:
    class Private;
    const std::unique_ptr<Private> d;
};
