#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/window/CBaseDialog.h"

#include <QDialogButtonBox>

#include <memory>

class QPixmap;

/**
 * Asks for a user name and a password.
 *
 * All texts are shown as they stand, markup included. The OK button waits for a user name. Escape, the Cancel
 * button and closing the window cancel.
 */
class KOVGUI_EXPORT CUserAuthDialog : public CBaseDialog
{
    Q_OBJECT

public:
    enum InputMode {
        UsernameAndPassword = 0,
        PasswordOnly = 1, ///< the name is shown and cannot be changed
    };
    Q_ENUM(InputMode)

    explicit CUserAuthDialog(InputMode mode, QWidget *parent = nullptr);
    ~CUserAuthDialog() override;

    /// With a name the dialog opens with the cursor in the password.
    void setUsername(const QString &username);
    void setPassword(const QString &password);
    QString username() const;
    /// Never the null text.
    QString password() const;

    /// Whether "Remember password" is checked; false once it was removed.
    bool savePasswordRequired() const;
    void removePasswordSaveOption();
    void removeWarningLabel();

    /// Null hides the picture.
    void setPixmap(const QPixmap &pixmap);
    void setTitleText(const QString &text);
    void setWarningText(const QString &text);
    /// For the OK and Cancel buttons; others do not exist and are ignored.
    void setButtonText(QDialogButtonBox::StandardButton button, const QString &text);

public Q_SLOTS:
    void accept() override;

Q_SIGNALS:
    /// The user has confirmed; before the dialog closes.
    void dataAccepted();

private:
    class Private;
    const std::unique_ptr<Private> d;
};
