#pragma once

#include "gui/window/CBaseDialog.h"

#include <memory>

/**
 * A window that shows how far something is: a text, a bar and, unless hidden, a Cancel button.
 *
 * Unlike QProgressDialog it is shown when its owner shows it and hidden when its owner hides it; reaching the
 * maximum does neither. The range (0, 0) means "busy, end unknown". When the user closes the window by its
 * title bar or Escape, that asks for cancellation like the button does; with the button hidden both do
 * nothing. The owner's close() hides it like hide().
 *
 * It never deletes itself.
 */
class KOVGUI_EXPORT CProgressDialog : public CBaseDialog
{
    Q_OBJECT
    Q_PROPERTY(int value READ value WRITE setValue NOTIFY valueChanged)
    Q_PROPERTY(QString labelText READ labelText WRITE setLabelText)

public:
    explicit CProgressDialog(QWidget *parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags(),
                             CustomWindowFlags customFlags = NoCustomFlags);
    ~CProgressDialog() override;

    /// Plain text.
    QString labelText() const;
    void setLabelText(const QString &text);
    /// Initially 0 to 100. A maximum below the minimum counts as the minimum.
    void setRange(int minimum, int maximum);
    int minimum() const;
    int maximum() const;
    int value() const;
    void setCancelButtonVisible(bool visible);
    bool isCancelButtonVisible() const;
    /// True once cancellation was asked for, until reset().
    bool wasCanceled() const;
    /// Value back to the minimum, not cancelled.
    void reset();

public Q_SLOTS:
    /// Values outside the range are brought inside.
    void setValue(int value);
    /// Asks for cancellation: emits canceled() once and disables the button. The window stays.
    void cancel();
    void reject() override;

Q_SIGNALS:
    void canceled();
    void valueChanged(int value);

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
