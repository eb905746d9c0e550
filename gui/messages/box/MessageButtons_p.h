#pragma once

#include "gui/messages/record/Messaging.h"

#include <array>
#include <functional>

class QDialogButtonBox;
class QPushButton;

/// The three answers of a message box. A button is made when it first has a text.
class MessageButtons
{
public:
    using Clicked = std::function<void(Messaging::ButtonID)>;

    MessageButtons(QDialogButtonBox *box, const Clicked &clicked);

    QString text(Messaging::ButtonID id) const;
    /// Keeps the button's role; a new first button accepts, the others reject.
    void setText(Messaging::ButtonID id, const QString &text);
    void set(Messaging::ButtonID id, const Messaging::Button &button);

    Messaging::ButtonID defaultAnswer() const { return m_default; }
    /// When there is no such button, the first one stands in.
    void setDefaultAnswer(Messaging::ButtonID id);

private:
    QPushButton *button(Messaging::ButtonID id) const { return m_buttons[std::size_t(id - 1)]; }
    QPushButton *makeButton(Messaging::ButtonID id);
    QPushButton *effectiveDefault() const;
    void updateDefault();

    QDialogButtonBox *const m_box;
    const Clicked m_clicked;
    std::array<QPushButton *, 3> m_buttons = {};
    Messaging::ButtonID m_default = Messaging::ButtonNone;
};
