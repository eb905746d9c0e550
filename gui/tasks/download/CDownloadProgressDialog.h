#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/tasks/download/DownloadProgressData.h"
#include "gui/window/CBaseDialog.h"

#include <memory>

class CAbstractTask;

/**
 * Shows how far a download is, with buttons to pause, resume and cancel it. It decides nothing: the buttons
 * are signals, and what it shows is what it was told.
 *
 * Cancel, Escape and the title bar hide the window and emit rejected().
 *
 * Its title names the application, and how far the download is once that is known.
 *
 * All texts are shown as they stand, markup included; what does not fit is cut in the middle.
 */
class KOVGUI_EXPORT CDownloadProgressDialog : public CBaseDialog
{
    Q_OBJECT

public:
    explicit CDownloadProgressDialog(const DownloadProgressData &data, QWidget *parent = nullptr);
    ~CDownloadProgressDialog() override;

    /// The name of what is downloaded. Characters that would turn its reading order around are left out.
    void setFileName(const QString &name);
    /// Whether this task is paused is shown; the window follows it. Null: never paused. Owns nothing.
    void setOperation(const CAbstractTask *operation);
    /// Shown instead of the amounts while something else than the transfer goes on, with a bar that only says
    /// "busy"; empty: the amounts.
    /// @param keepsAmounts  the transfer only stands still: the amounts follow the text, and the bar stays
    void setStatusText(const QString &text, bool keepsAmounts = false);
    /// At first "Preparing...".
    QString statusText() const;

public Q_SLOTS:
    /// Shown soon: reports that come fast are shown ten times a second. The timer is the child "updateTimer".
    void onDownloadProgressDataReceived(const DownloadProgressData &data);
    /// Shows at once what is known.
    void update();

Q_SIGNALS:
    void pauseResumeClicked();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
