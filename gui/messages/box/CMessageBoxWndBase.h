#pragma once

#include "gui/messages/record/Messaging.h"
#include "gui/window/CBaseDialog.h"

#include <QUrl>

#include <memory>

/**
 * What every message window has: the message's uuid, the do-not-show-again state, and the two signals by
 * which the processor learns of answers and links. When it is first shown it raises one accessibility alert.
 *
 * Every way out is delivered here: done() with its result, close() and the title bar through done(0). The
 * destructor of a derived class calls deliverAnswer(), because only it still knows the do-not-show-again
 * state; one that forgets has its answer delivered with that state false.
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
    void done(int answer) override;

Q_SIGNALS:
    /// Emitted exactly once, whichever way the window goes: answered, closed, or destroyed with its parent
    /// (answer 0). It is hidden by then, and no modal widget any more; finished() came before. A result that
    /// is no answer counts as 0. The receiver may delete the window.
    void beforeMessageDestroyed(const QString &uuid, Messaging::ButtonID answer, bool doNotShowAgain);
    void anchorClicked(const QString &uuid, const QUrl &url);

protected:
    /// Hides the window and emits beforeMessageDestroyed() with result(), unless that happened already.
    void deliverAnswer();
    void showEvent(QShowEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
